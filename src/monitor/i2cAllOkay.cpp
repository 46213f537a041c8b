// The all-okay sources on I2C chips: the fan controller, the main-reference
// temperature sensor and the front-panel FPGA.
#include <cstdlib>

#include "allOkay.h"
#include "kernel.h"
#include "fanCtlr.h"
#include "i2cDevUtil.h"
#include "i2cRegAxs.h"
#include "log.h"

namespace {
constexpr int MAX_ATTEMPTS = 40;
constexpr unsigned short FAULT_LIMIT_NOT_OK = 0x7FFF;  // no fan runs that fast: every fan faults
constexpr unsigned short FAULT_LIMIT_OK = 0x0168;
constexpr unsigned char FAN_FAULT_BITS = 0xF0;

// SA56004X registers (write and read addresses differ) and its local-high status bit.
constexpr unsigned char SA_STATUS = 0x02, SA_CONFIG_RD = 0x03, SA_CONFIG_WR = 0x09;
constexpr unsigned char SA_LHIGH_RD = 0x05, SA_LHIGH_WR = 0x0B, SA_LHIGH_FLAG = 0x40;
constexpr unsigned char SETPOINT_NOT_OK = 0x00, SETPOINT_OK = 0x46;  // 0 and 70 degrees

// Front-panel FPGA general-purpose outputs that carry its okay output.
constexpr unsigned char FP_GPO0 = 0x10, FP_GPO1 = 0x11, FP_GPO0_OK = 0x11, FP_GPO1_OK = 0x0F;
constexpr unsigned char FP_INPUTS = 0x12, FP_ALLOK_IN = 0x01;

void msleep(unsigned ms) { kernel().sleepUs(ms * 1000LL); }
const char* okWord(bool ok) { return ok ? "okay" : "not okay"; }

// The end of a series of attempts to set an okay output, reported as the setter's own.
E_STATUS outcome(E_STATUS st, bool done, int attempts, bool ok) {
  if (st != SUCCESS) return st;
  if (!done) {
    LOGERR_FN(LOG_TERM, "setOkayOut", "timed out waiting for All-okay %s\n", okWord(ok));
    return TIMEOUT;
  }
  if (attempts > 1) LOGERR_FN(LOG_TERM, "setOkayOut", "retries required to set %s:  %d\n", okWord(ok), attempts - 1);
  return SUCCESS;
}

// The controller has one fault output for its six fans: a fault on any fan's
// page asserts it, so each fan page's STATUS_FANS_1_2 is read (the register
// table lists it on page 0 only, as the dump shows it).
E_STATUS anyFanFault(I2cDevMap& devs, bool* faulted) {
  *faulted = false;
  FanCtlr fc(devs);
  I2cDevUtil util(devs, "fctl", true);
  if (util.stat() != SUCCESS) return util.stat();
  for (unsigned char page = 0; page < FC_FAN_PAGES; ++page) {
    unsigned short status = 0;
    E_STATUS st = fc.lclRdFanCtlrReg(util.getItr(), page, FC_STATUS_FANS_1_2, 1, &status);
    if (st != SUCCESS) return st;
    if (status & FAN_FAULT_BITS) *faulted = true;
  }
  return SUCCESS;
}
}  // namespace

E_STATUS FcAllOkay::chk4OkayOut(bool* pOk) {
  bool faulted = false;
  E_STATUS st = anyFanFault(dev.i2c, &faulted);
  if (st == SUCCESS) *pOk = !faulted;
  return st;
}

E_STATUS FcAllOkay::setOkayOut(bool ok, bool) {
  FanCtlr fc(dev.i2c);
  const unsigned short limit = ok ? FAULT_LIMIT_OK : FAULT_LIMIT_NOT_OK;
  E_STATUS st = SUCCESS;
  int attempts = 0;
  bool done = false;
  while (attempts < MAX_ATTEMPTS && st == SUCCESS && !done) {
    ++attempts;
    st = fc.wrFanCtlrReg(0, 2, FC_MFR_FAN_FAULT_LIMIT, limit);
    msleep(300);
    unsigned short rd = 0;
    if (st == SUCCESS) st = fc.rdFanCtlrReg(0, FC_MFR_FAN_FAULT_LIMIT, &rd);
    if (!ok) msleep(300);
    if (st == SUCCESS && rd != limit) {
      LOGERR(LOG_TERM, "FAILURE to read back 0x%04x (0x%04x) from fault limit register\n", limit, rd);
      st = FAILURE;
    }
    if (st == SUCCESS && ok) {
      st = fc.wrFanCtlrReg(0, 0, FC_CLEAR_FAULTS, 0);
      msleep(300);
    }
    // Not okay: fan 1's limit was raised, so its page shows the fault. Okay:
    // the output is released only when no fan's page shows one.
    unsigned short status = 0;
    bool faulted = false;
    if (st == SUCCESS && ok) st = anyFanFault(dev.i2c, &faulted);
    if (st == SUCCESS && !ok) st = fc.rdFanCtlrReg(0, FC_STATUS_FANS_1_2, &status);
    if (st == SUCCESS) done = ok ? !faulted : (status & FAN_FAULT_BITS) != 0;
    if (st == SUCCESS && !done) msleep(500);
  }
  if (st != SUCCESS)
    LOGERR(LOG_TERM, "bad status %d, while reading STATUS_FANS_1_2\n", st);
  return outcome(st, done, attempts, ok);
}

namespace {
// One attempt at the main-reference sensor: configuration, set-point, then whether its output is asserted.
E_STATUS mrAttempt(I2cDev* dev, bool ok, bool* overTemp) {
  const unsigned char setpoint = ok ? SETPOINT_OK : SETPOINT_NOT_OK;
  unsigned char v = 0;
  E_STATUS st = wrReg8(dev, SA_CONFIG_WR, 0x00);
  if (st == SUCCESS) st = rdReg8(dev, SA_CONFIG_RD, &v);
  if (st == SUCCESS && v != 0x00) {
    LOGERR(LOG_TERM, "FAILURE to read back 0x00 (0x%02x) from configuration register\n", v);
    return FAILURE;
  }
  if (st == SUCCESS) st = wrReg8(dev, SA_LHIGH_WR, setpoint);
  if (st == SUCCESS) st = rdReg8(dev, SA_LHIGH_RD, &v);
  if (st == SUCCESS && v != setpoint) {
    LOGERR(LOG_TERM, "FAILURE to read back 0x%02x(0x%02x) from local high setpoint register\n", setpoint, v);
    return FAILURE;
  }
  if (st == SUCCESS) st = rdReg8(dev, SA_STATUS, &v);
  *overTemp = (v & SA_LHIGH_FLAG) != 0;
  return st;
}
}  // namespace

E_STATUS MrAllOkay::chk4OkayOut(bool* pOk) {
  I2cDevUtil util(dev.i2c, "mrtmp1", true);
  if (util.stat() != SUCCESS) return util.stat();
  unsigned char status = 0;
  E_STATUS st = rdReg8(util.dev(), SA_STATUS, &status);
  if (st == SUCCESS) *pOk = (status & SA_LHIGH_FLAG) == 0;
  return st;
}

E_STATUS MrAllOkay::setOkayOut(bool ok, bool) {
  E_STATUS st = SUCCESS;
  int attempts = 0;
  bool done = false;
  while (attempts < MAX_ATTEMPTS && st == SUCCESS && !done) {
    ++attempts;
    bool over = false;
    {
      I2cDevUtil util(dev.i2c, "mrtmp1", true);
      st = util.stat();
      if (st == ENTRY_NOT_FOUND) return st;
      if (st == SUCCESS) st = mrAttempt(util.dev(), ok, &over);
    }
    done = st == SUCCESS && over != ok;
    // The sensor compares after its next conversion.
    if (st == SUCCESS && !done) msleep(100);
  }
  if (st != SUCCESS)
    LOGERR(LOG_TERM, "FAILURE while trying to set All-okay out to %s\n", okWord(ok));
  return outcome(st, done, attempts, ok);
}

namespace {
// Read-modify-write of one front-panel FPGA register.
E_STATUS fpModify(I2cDev* dev, unsigned char reg, unsigned char orBits, unsigned char andBits) {
  unsigned char v = 0;
  E_STATUS st = rdReg8(dev, reg, &v);
  if (st == SUCCESS) st = wrReg8(dev, reg, static_cast<unsigned char>((v | orBits) & andBits));
  return st;
}

// The front panel's own way, through its shell command.
void fpOldWay(const LineRunner& runLine) {
  for (const char* line : {"fpfpga -w 0x01 0x00 -rus -nv", "fpfpga -w 0x11 0x0f -rus -nv", "fpfpga -w 0x01 0x02 -rus -nv",
                           "fpfpga -mrdfr", "fpfpga -opn 148 -rus -nv"})
    runLine(line);
}
}  // namespace

E_STATUS FpAllOkay::setOkayOut(bool ok, bool oldWay) {
  E_STATUS st = SUCCESS;
  if (oldWay && ok) {
    fpOldWay(dev.runLine);
  } else {
    I2cDevUtil util(dev.i2c, "fpfpga", true);
    st = util.stat();
    I2cDev* dev = st == SUCCESS ? util.dev() : nullptr;
    if (dev && ok) {
      st = fpModify(dev, FP_GPO1, FP_GPO1_OK, 0xFF);
      if (st == SUCCESS) st = fpModify(dev, FP_GPO0, FP_GPO0_OK, 0xFF);
    } else if (dev) {
      st = fpModify(dev, FP_GPO0, 0, static_cast<unsigned char>(~FP_GPO0_OK));
      if (st == SUCCESS) st = fpModify(dev, FP_GPO1, 0, static_cast<unsigned char>(~FP_GPO1_OK));
    }
  }
  log(LOG_TERM, "%s - done\n", __func__);
  return st;
}

E_STATUS FpAllOkay::chk4OkayOut(bool* pOk) {
  I2cDevUtil util(dev.i2c, "fpfpga", true);
  if (util.stat() != SUCCESS) return util.stat();
  unsigned char gpo0 = 0, gpo1 = 0;
  E_STATUS st = rdReg8(util.dev(), FP_GPO0, &gpo0);
  if (st == SUCCESS) st = rdReg8(util.dev(), FP_GPO1, &gpo1);
  if (st == SUCCESS) *pOk = (gpo0 & FP_GPO0_OK) == FP_GPO0_OK && (gpo1 & FP_GPO1_OK) == FP_GPO1_OK;
  return st;
}

E_STATUS FpAllOkay::chk4AllOkayIn(bool* pOk) {
  I2cDevUtil util(dev.i2c, "fpfpga", true);
  if (util.stat() != SUCCESS) return util.stat();
  unsigned char inputs = 0;
  E_STATUS st = rdReg8(util.dev(), FP_INPUTS, &inputs);
  if (st == SUCCESS) *pOk = (inputs & FP_ALLOK_IN) != 0;
  return st;
}
