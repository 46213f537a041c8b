// Self-tests that reach the I2C chips: the bus scan, fast access of one chip,
// and the cable check through the chips on the connected boards.
#include <algorithm>
#include <climits>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "deviceTests.h"
#include "fanCtlr.h"
#include "i2cDevMap.h"
#include "i2cDevUtil.h"
#include "rev.h"
#include "log.h"
#include "keyInput.h"

namespace {
constexpr unsigned short SCAN_FAILED_CODE = 0x1729;

void verdict(E_STATUS st, unsigned short code) {
  log(LOG_TERM, st == SUCCESS ? "PASSED\n" : "FAILED\n");
  if (st != SUCCESS && code) log(LOG_TERM, "!%04X\n", code);
}

// Sets the device's path up and probes it; false with the reason printed.
bool probe(I2cDevMap& i2c, const std::string& name) {
  I2cDevUtil util(i2c, name, true);
  return util.stat() == SUCCESS && util.dev()->answers();
}

// Only the chips of the board's own revision family are there to answer: a
// board has the 4-channel muxes or, from revision 3, the switches.
bool onThisRevision(const I2cDev& dev, int rev) {
  bool later = rev >= Rev::FIRST_SWITCH_REV;
  return later ? !dev.notOnLaterRevs : !dev.notOnEarlyRevs;
}

bool parseHex(const std::string& hex, std::vector<unsigned char>* out) {
  if (hex.empty() || hex.size() % 2) return false;
  for (size_t i = 0; i < hex.size(); i += 2) {
    if (!isxdigit(static_cast<unsigned char>(hex[i])) || !isxdigit(static_cast<unsigned char>(hex[i + 1]))) return false;
    out->push_back(static_cast<unsigned char>(strtoul(hex.substr(i, 2).c_str(), nullptr, 16)));
  }
  return true;
}

const char* const scanUsage[] = {"checks that every registered I2C device answers on its bus"};
const char* const cableUsage[] = {"checks the cables to the connected boards through the chips on their far ends"};
// The fast access test's -l, whose usage line tells what each of its loops does.
const OptDecl fastLoops = numOpt("-l", 0, ULONG_MAX);
const OptDecl* const fastOpts[] = {&fastLoops};
}  // namespace

std::span<const char* const> I2cScanTest::usageHead() const { return scanUsage; }

E_STATUS I2cScanTest::run(const Args&) {
  E_STATUS st = SUCCESS;
  int checked = 0;
  const int rev = i2c.revision.rev();
  for (const auto& [name, dev] : i2c.devices()) {
    if (dev->scanTstIgnore || !onThisRevision(*dev, rev)) continue;
    ++checked;
    if (!probe(i2c, name)) {
      log(LOG_TERM, "%s - %s (0x%02x) does not answer: %s\n", nm.c_str(), name.c_str(), dev->address,
          dev->description.c_str());
      st = FAILURE;
    }
  }
  log(LOG_TERM, "%s - %d devices checked\n", nm.c_str(), checked);
  verdict(st, SCAN_FAILED_CODE);
  return st;
}

I2CFastRegAxsTest::I2CFastRegAxsTest(const Devices& devices, std::string nm, std::string help, std::string dev,
                                     std::string data, unsigned int reg, bool, bool)
    : Test(std::move(nm), std::move(help), ""),
      i2c(devices.i2c),
      usageText("-l <loops (0=>infinite)> - write " + data + " to " + dev + ", register " + std::to_string(reg) +
                ", that many times"),
      usageLine(usageText.c_str()),
      dev(std::move(dev)),
      dataHex(std::move(data)),
      reg(reg) {}

std::span<const OptDecl* const> I2CFastRegAxsTest::options() const { return fastOpts; }

namespace {
// One round: the message as one write; where the data starts with the chip's own
// register (register 0 in the test's row), the chip must give the rest back.
E_STATUS fastRound(I2cDev* d, const std::vector<unsigned char>& msg, bool readBack) {
  std::vector<char> buf(msg.begin(), msg.end());
  int cnt = 0;
  bool wasSmbus = d->smbus;
  d->setBus(false);  // the data is the whole message, whatever the chip's usual mode
  E_STATUS st = d->wrBytes(buf, buf.size(), &cnt, 1);
  if (st == SUCCESS && readBack) {
    size_t n = msg.size() > 1 ? msg.size() - 1 : 1;
    std::vector<char> rd(n);
    if (msg.size() > 1) st = d->wrBytes(buf, 1, &cnt, 1);
    if (st == SUCCESS) st = d->rdBytes(rd.data(), n, &cnt, 1);
    if (st == SUCCESS && memcmp(rd.data(), msg.data() + (msg.size() > 1 ? 1 : 0), n) != 0) st = FAILURE;
  }
  d->setBus(wasSmbus);
  return st;
}
}  // namespace

E_STATUS I2CFastRegAxsTest::run(const Args& args) {
  const unsigned long loops = args.num(fastLoops, 1);
  std::vector<unsigned char> msg;
  if (!parseHex(dataHex, &msg)) {
    LOGERR(LOG_TERM, "bad data %s\n", dataHex.c_str());
    return BAD_PARAMETER;
  }
  const bool readBack = reg == 0;
  if (!i2c.find(dev)) {
    log(LOG_TERM, "%s - %s is not a device of this board (see i2c -l)\n", nm.c_str(), dev.c_str());
    verdict(FAILURE, 0);
    return FAILURE;
  }
  I2cDevUtil util(i2c, dev, true);
  E_STATUS st = util.stat();
  unsigned long done = 0, failures = 0;
  while (st == SUCCESS && (loops == 0 ? !inputAvailable() : done < loops)) {
    if (fastRound(util.dev(), msg, readBack) != SUCCESS) ++failures;
    ++done;
  }
  if (st == SUCCESS && failures) st = FAILURE;
  log(LOG_TERM, "%s - %lu accesses of %s, %lu failed%s\n", nm.c_str(), done, dev.c_str(), failures,
      readBack ? "" : " (write acknowledged; this chip gives no read-back)");
  verdict(st, 0);
  return st;
}

namespace {
struct CableCheck {
  const char* device;
  const char* what;
  unsigned short code;
};
// The memories at the far end of each cable, with the code that names the cable.
const CableCheck cableChecks[] = {
    {"fprlyEeprom", "front panel relay cable", 0x1721},
    {"smcEeprom", "front panel SRC/MSMT connector cable", 0x1722},
    {"bpEeprom", "back plane cable", 0x1713},
    {"fcEeprom", "fan controller cable", 0x1711},
};
}  // namespace

std::span<const char* const> Z9CableConnTest::usageHead() const { return cableUsage; }

E_STATUS Z9CableConnTest::run(const Args&) {
  std::vector<unsigned short> codes;
  for (const CableCheck& c : cableChecks) {
    if (probe(i2c, c.device)) continue;
    log(LOG_TERM, "%s - %s: %s does not answer\n", nm.c_str(), c.what, c.device);
    codes.push_back(c.code);
  }
  if (tstAxs2FctlrRegs(i2c) != SUCCESS) {
    log(LOG_TERM, "%s - fan controller cable: the fan controller does not answer\n", nm.c_str());
    if (std::find(codes.begin(), codes.end(), 0x1711) == codes.end()) codes.push_back(0x1711);
  }
  log(LOG_TERM, "%s - power-supply controller cable not checked: the PSC FPGA is not reachable in this build\n",
      nm.c_str());
  // A cable that failed fails the test; all that answered is not all the
  // cables, so no verdict is given then.
  if (codes.empty()) {
    log(LOG_TERM, "%s - no verdict: not every cable could be checked\n", nm.c_str());
    return FXN_NOT_SUPPORTED;
  }
  log(LOG_TERM, "FAILED\n");
  for (unsigned short code : codes) log(LOG_TERM, "!%04X\n", code);
  return FAILURE;
}
