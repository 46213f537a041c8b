#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "commands.h"
#include "i2cDevUtil.h"
#include "log.h"

namespace {
constexpr unsigned long MAX_SMBUS_WRITE = 2;   // byte or word after the register byte
constexpr unsigned long MAX_SMBUS_READ = 32;   // SMBus block maximum
constexpr unsigned long MAX_PLAIN_WRITE = 32;  // one EEPROM page
constexpr unsigned long MAX_PLAIN_READ = 256;
constexpr unsigned DUMP_LEN = 256;
constexpr int OFFSET_BYTES = 2;  // plain devices with a memory take a two-byte offset, high byte first

void usage() {
  log(LOG_TERM, "i2c - read and write the named I2C devices\n");
  log(LOG_TERM, " -l - list the devices with their descriptions\n");
  log(LOG_TERM, " -d <device> - the device to access\n");
  log(LOG_TERM, " -o <reg/offset> - register (SMBus device) or memory offset (plain device, two bytes)\n");
  log(LOG_TERM, " -r <count> - read count bytes (SMBus: 1, 2 or a block of up to 32; plain: up to 256)\n");
  log(LOG_TERM, " -w <byte> [<byte>...] - write the bytes (SMBus: at most 2 after the register; plain: at most 32)\n");
  log(LOG_TERM, " -dump - dump the device (SMBus: each register from -o; plain: 256 bytes from -o, else from where it is)\n");
}

struct Request {
  std::string device;
  bool list = false, help = false, dump = false;
  bool hasOffset = false, hasRead = false, hasWrite = false;
  unsigned long offset = 0, readCount = 0;
  std::vector<unsigned long> data;
};

// A number with base detection (decimal, 0x hexadecimal, leading-zero octal) up to max.
bool parseNum(const char* text, unsigned long max, unsigned long* value) {
  if (!text[0] || text[0] == '-' || text[0] == '+') return false;
  char* end = nullptr;
  errno = 0;
  *value = strtoul(text, &end, 0);
  return errno == 0 && *end == '\0' && *value <= max;
}

E_STATUS badNumber(const char* text, const char* what) {
  LOGERR(LOG_TERM, "bad %s: %s\n", what, escPct(text).c_str());
  return BAD_PARAMETER;
}

E_STATUS scan(int argc, char argv[][ARG_LEN], Request& rq) {
  for (int i = 1; i < argc; ++i) {
    const char* a = argv[i];
    bool hasValue = i + 1 < argc;
    if (!a[0]) {
      continue;  // an empty argument from two blanks in a row
    } else if (!strcmp(a, "-l")) {
      rq.list = true;
    } else if (!strcmp(a, "-h")) {
      rq.help = true;
    } else if (!strcmp(a, "-dump")) {
      rq.dump = true;
    } else if (!strcmp(a, "-d") && hasValue) {
      rq.device = argv[++i];
    } else if (!strcmp(a, "-o") && hasValue) {
      rq.hasOffset = true;
      if (!parseNum(argv[++i], 0xFFFF, &rq.offset)) return badNumber(argv[i], "offset");
    } else if (!strcmp(a, "-r") && hasValue) {
      rq.hasRead = true;
      if (!parseNum(argv[++i], MAX_PLAIN_READ, &rq.readCount) || rq.readCount == 0)
        return badNumber(argv[i], "byte count");
    } else if (!strcmp(a, "-w")) {
      rq.hasWrite = true;
      while (i + 1 < argc && argv[i + 1][0] != '-' && argv[i + 1][0] != '\0') {
        unsigned long v;
        if (!parseNum(argv[++i], 0xFF, &v)) return badNumber(argv[i], "byte");
        rq.data.push_back(v);
      }
    } else {
      LOGERR(LOG_TERM, "unknown or incomplete option %s, see i2c -h\n", escPct(a).c_str());
      return BAD_PARAMETER;
    }
  }
  return SUCCESS;
}

E_STATUS tooMany(const char* what, unsigned long n, unsigned long max) {
  LOGERR(LOG_TERM, "too many bytes to %s, %lu, at most %lu\n", what, n, max);
  return BAD_PARAMETER;
}

// Refuses what the device's mode cannot carry before the bus is touched.
E_STATUS check(const Request& rq, const I2cDev& dev) {
  if (!rq.hasRead && !rq.hasWrite && !rq.dump) {
    LOGERR(LOG_TERM, "nothing to do for %s: give -r, -w or -dump\n", escPct(rq.device).c_str());
    return BAD_PARAMETER;
  }
  if (dev.smbus) {
    if (rq.hasOffset && rq.offset > 0xFF) return badNumber(std::to_string(rq.offset).c_str(), "register");
    if ((rq.hasRead || rq.hasWrite) && !rq.hasOffset) {
      LOGERR(LOG_TERM, "%s is an SMBus device: give the register with -o\n", escPct(rq.device).c_str());
      return BAD_PARAMETER;
    }
    if (rq.data.size() > MAX_SMBUS_WRITE) return tooMany("write", rq.data.size(), MAX_SMBUS_WRITE);
    if (rq.readCount > MAX_SMBUS_READ) return tooMany("read", rq.readCount, MAX_SMBUS_READ);
  } else {
    if (rq.hasWrite && rq.data.empty() && !rq.hasOffset) {
      LOGERR(LOG_TERM, "no bytes to write\n");
      return BAD_PARAMETER;
    }
    if (rq.data.size() > MAX_PLAIN_WRITE) return tooMany("write", rq.data.size(), MAX_PLAIN_WRITE);
  }
  return SUCCESS;
}

// Plain devices: the offset bytes (when given) and then the data, in one transaction.
E_STATUS plainWrite(I2cDev& dev, const Request& rq, bool withData) {
  std::vector<char> buf;
  if (rq.hasOffset) {
    buf.push_back(static_cast<char>(rq.offset >> 8));
    buf.push_back(static_cast<char>(rq.offset & 0xFF));
  }
  if (withData)
    for (unsigned long b : rq.data) buf.push_back(static_cast<char>(b));
  if (buf.empty()) return SUCCESS;
  int written = 0;
  return dev.wrBytes(buf.data(), buf.size(), &written, 0);
}

E_STATUS smbusWrite(I2cDev& dev, const Request& rq) {
  char buf[1 + MAX_SMBUS_WRITE] = {static_cast<char>(rq.offset)};
  for (size_t k = 0; k < rq.data.size(); ++k) buf[1 + k] = static_cast<char>(rq.data[k]);
  int written = 0;
  return dev.wrBytes(buf, rq.data.size(), &written, 0);
}

E_STATUS smbusRead(I2cDev& dev, const Request& rq) {
  char buf[MAX_SMBUS_READ] = {static_cast<char>(rq.offset)};
  int got = 0;
  bool block = rq.readCount > 2;
  E_STATUS st = dev.rdBytes(buf, rq.readCount, &got, block ? 0 : 1, false, false);
  if (st != SUCCESS || block) return st;
  auto lo = static_cast<unsigned char>(buf[0]), hi = static_cast<unsigned char>(buf[1]);
  if (rq.readCount == 1)
    log(LOG_TERM, "0x%02x\n", lo);
  else
    log(LOG_TERM, "0x%04x\n", lo | (hi << 8));
  return st;
}

E_STATUS smbusDump(I2cDev& dev, const Request& rq) {
  std::vector<char> regs;
  for (unsigned long reg = rq.hasOffset ? rq.offset : 0; reg <= 0xFF; ++reg) {
    char b = static_cast<char>(reg);
    int got = 0;
    dev.rdBytes(&b, 1, &got, 1, false, false);
    regs.push_back(b);
  }
  dumpBytes(regs.data(), static_cast<int>(regs.size()), false, false);
  return SUCCESS;
}

E_STATUS plainRead(I2cDev& dev, const Request& rq, unsigned long count) {
  E_STATUS st = plainWrite(dev, rq, false);
  if (st != SUCCESS) return st;
  std::vector<char> buf(count);
  int got = 0;
  return dev.rdBytes(buf.data(), count, &got, 0, false, false);
}

E_STATUS access(const Request& rq) {
  I2cDevUtil util(rq.device, __FILE__, __LINE__, __func__, false, false);
  if (util.stat() != SUCCESS) {
    LOGERR(LOG_TERM, "cannot reach I2C device %s, status= %d\n", escPct(rq.device).c_str(), util.stat());
    return util.stat();
  }
  I2cDev& dev = *util.getItr()->second;
  E_STATUS st = SUCCESS;
  if (rq.hasWrite) st = dev.smbus ? smbusWrite(dev, rq) : plainWrite(dev, rq, true);
  if (st == SUCCESS && rq.hasRead) st = dev.smbus ? smbusRead(dev, rq) : plainRead(dev, rq, rq.readCount);
  if (st == SUCCESS && rq.dump) st = dev.smbus ? smbusDump(dev, rq) : plainRead(dev, rq, DUMP_LEN);
  return st;
}

void list() {
  I2cDevMap* reg = I2cDevMap::getI2cDevMap();
  log(LOG_TERM, "I2C devices of the %s board\n", reg->boardLabel.c_str());
  log(LOG_TERM, "%-12s %-4s %-5s %s\n", "name", "addr", "mode", "description");
  for (const auto& [name, dev] : reg->map)
    log(LOG_TERM, "%-12s 0x%02x %-5s %s\n", escPct(name).c_str(), dev->address, dev->smbus ? "smbus" : "plain",
        escPct(dev->description).c_str());
}

E_STATUS run(const Request& rq) {
  if (rq.help) {
    usage();
    return SUCCESS;
  }
  if (rq.list) {
    list();
    return SUCCESS;
  }
  if (rq.device.empty()) {
    LOGERR(LOG_TERM, "no device given, see i2c -h\n");
    return BAD_PARAMETER;
  }
  I2cDevNameMap& devs = I2cDevMap::getI2cDevMap()->map;
  auto it = devs.find(rq.device);
  if (it == devs.end()) {
    LOGERR(LOG_TERM, "I2C device %s not found, see i2c -l\n", escPct(rq.device).c_str());
    return ENTRY_NOT_FOUND;
  }
  E_STATUS st = check(rq, *it->second);
  return st == SUCCESS ? access(rq) : st;
}
}  // namespace

E_STATUS i2c(int argc, char argv[][ARG_LEN]) {
  Request rq;
  E_STATUS st = scan(argc, argv, rq);
  return st == SUCCESS ? run(rq) : st;
}
