#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "board.h"
#include "i2cDevUtil.h"
#include "i2cEeprom.h"
#include "log.h"
#include "numArg.h"

namespace {
constexpr unsigned long MAX_SMBUS_WRITE = 2;   // byte or word after the register byte
constexpr unsigned long MAX_SMBUS_READ = 32;   // SMBus block maximum
constexpr unsigned long MAX_PLAIN_READ = 256;
constexpr unsigned DUMP_LEN = 256;

const char* const head[] = {"i2c - read and write the named I2C devices"};
const OptDecl list = flagOpt("-l").says(" -l - list the devices with their descriptions");
const OptDecl device = wordOpt("-d").says(" -d <device> - the device to access");
const OptDecl offset =
    numOpt("-o", 0, 0xFFFF).says(" -o <reg/offset> - register (SMBus device) or memory offset (plain device, two bytes)");
const OptDecl readOpt = numOpt("-r", 1, MAX_PLAIN_READ)
                         .says(" -r <count> - read count bytes (SMBus: 1 or 2, or a block of up to 32 where the "
                               "adapter carries one; plain: up to 256)");
const OptDecl writeOpt = numsOpt("-w", 0, 0xFF)
                          .says(" -w <byte> [<byte>...] - write the bytes (SMBus: at most 2 after the register; "
                                "plain: as many as the line's 20 words allow)");
const OptDecl dump = flagOpt("-dump").says(
    " -dump - dump the device (SMBus: each register from -o; plain: 256 bytes from -o, else from where it is)");
const OptDecl* const opts[] = {&list, &device, &offset, &readOpt, &writeOpt, &dump};

struct Request {
  std::string device;
  bool list = false, dump = false;
  bool hasOffset = false, hasRead = false, hasWrite = false;
  unsigned long offset = 0, readCount = 0;
  std::vector<unsigned long> data;
};

Request request(const Args& s) {
  Request rq{.device = s.word(device),
             .list = s.has(list),
             .dump = s.has(dump),
             .hasOffset = s.has(offset),
             .hasRead = s.has(readOpt),
             .offset = s.num(offset),
             .readCount = s.num(readOpt)};
  if (const OptHit* w = s.last(writeOpt)) {
    rq.hasWrite = true;
    for (int i = w->first; i < w->end; ++i) rq.data.push_back(strtoul(s.at(i), nullptr, 0));  // checked by the scan
  }
  return rq;
}

E_STATUS tooMany(const char* what, unsigned long n, unsigned long max) {
  LOGERR(LOG_TERM, "too many bytes to %s, %lu, at most %lu\n", what, n, max);
  return BAD_PARAMETER;
}

// Refuses what the device's mode cannot carry before the bus is touched.
E_STATUS check(const Request& rq, const I2cDev& dev) {
  if (!rq.hasRead && !rq.hasWrite && !rq.dump) {
    LOGERR(LOG_TERM, "nothing to do for %s: give -r, -w or -dump\n", rq.device.c_str());
    return BAD_PARAMETER;
  }
  if (dev.smbus) {
    if (rq.hasOffset && rq.offset > 0xFF)
      return refuseNumArg("i2c", "-o", std::to_string(rq.offset).c_str(), NUM_ARG_OUT_OF_RANGE, 0, 0xFF);
    if ((rq.hasRead || rq.hasWrite) && !rq.hasOffset) {
      LOGERR(LOG_TERM, "%s is an SMBus device: give the register with -o\n", rq.device.c_str());
      return BAD_PARAMETER;
    }
    if (rq.data.size() > MAX_SMBUS_WRITE) return tooMany("write", rq.data.size(), MAX_SMBUS_WRITE);
    if (rq.readCount > MAX_SMBUS_READ) return tooMany("read", rq.readCount, MAX_SMBUS_READ);
  } else {
    if (rq.hasWrite && rq.data.empty() && !rq.hasOffset) {
      LOGERR(LOG_TERM, "no bytes to write\n");
      return BAD_PARAMETER;
    }
    // A line's 20 words hold fewer bytes than an EEPROM page (32): a plain write never needs cutting.
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
  int written = 0, polls = 0;
  E_STATUS st = dev.wrBytes(buf, buf.size(), &written, 0);
  // A memory stores what was written before it answers again, so that the
  // next access finds it stored; the polls leave its address pointer where
  // the write left it (after the last byte, within the page).
  if (st == SUCCESS && rq.hasOffset && !rq.data.empty() && dev.boardIdMem) {
    unsigned next = (rq.offset & ~31u) | ((rq.offset + rq.data.size()) & 31u);
    st = I2cEeprom::waitWritten(dev, next, &polls);
  }
  return st;
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
    dev.rdBytes(&b, 1, &got, 1);
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

E_STATUS access(I2cDevMap& devs, const Request& rq) {
  I2cDevUtil util(devs, rq.device, false);
  if (util.stat() != SUCCESS) {
    LOGERR(LOG_TERM, "cannot reach I2C device %s, status= %d\n", rq.device.c_str(), util.stat());
    return util.stat();
  }
  I2cDev& dev = *util.dev();
  E_STATUS st = SUCCESS;
  if (rq.hasWrite) st = dev.smbus ? smbusWrite(dev, rq) : plainWrite(dev, rq, true);
  if (st == SUCCESS && rq.hasRead) st = dev.smbus ? smbusRead(dev, rq) : plainRead(dev, rq, rq.readCount);
  if (st == SUCCESS && rq.dump) st = dev.smbus ? smbusDump(dev, rq) : plainRead(dev, rq, DUMP_LEN);
  return st;
}

void listDevices(I2cDevMap& devs) {
  log(LOG_TERM, "I2C devices of the %s board\n", devs.boardLabel().c_str());
  log(LOG_TERM, "%-12s %-4s %-5s %s\n", "name", "addr", "mode", "description");
  for (const auto& [name, dev] : devs.devices())
    log(LOG_TERM, "%-12s 0x%02x %-5s %s\n", name.c_str(), dev->address, dev->smbus ? "smbus" : "plain",
        dev->description.c_str());
}

E_STATUS i2c(const Args& args, Board& board) {
  const Request rq = request(args);
  if (rq.list) {
    listDevices(board.i2c);
    return SUCCESS;
  }
  if (rq.device.empty()) {
    LOGERR(LOG_TERM, "no device given, see i2c -h\n");
    return BAD_PARAMETER;
  }
  I2cDev* dev = board.i2c.find(rq.device);
  if (!dev) {
    LOGERR(LOG_TERM, "I2C device %s not found, see i2c -l\n", rq.device.c_str());
    return ENTRY_NOT_FOUND;
  }
  E_STATUS st = check(rq, *dev);
  return st == SUCCESS ? access(board.i2c, rq) : st;
}
}  // namespace

constinit const CmdDecl i2cCmd = {.help = "i2c utility", .args = {.name = "i2c", .head = head, .opts = opts}, .handler = i2c};
DIAG_COMMAND(i2cCmd);
