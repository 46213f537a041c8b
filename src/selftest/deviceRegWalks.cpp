// Register tests of the devices this build reaches: the FPGA scratch
// register, the fan controller's fault limit, and byte registers of I2C chips.
#include "deviceTests.h"
#include "fanCtlr.h"
#include "gpmcDevMap.h"
#include "i2cDevUtil.h"
#include "i2cRegAxs.h"

namespace {
constexpr unsigned long FPGA_SCRATCH = 0x04;
constexpr unsigned char SA_LHIGH_WR = 0x0B, SA_LHIGH_RD = 0x05;
constexpr unsigned char FP_SCRATCH = 0x39;

GpmcDev* regDev() { return GpmcDevMap::find("reg"); }
}  // namespace

GpmcRegTest::GpmcRegTest(std::string nm, std::string help, bool rprt, bool contOnErr)
    : RegTest(std::move(nm), std::move(help), 0xFFFF, rprt, contOnErr, FPGA_SCRATCH) {}

void GpmcRegTest::rd(unsigned short* v) {
  if (GpmcDev* d = regDev()) d->regRd(v, regAddr);
}

void GpmcRegTest::wr(unsigned short* v) {
  if (GpmcDev* d = regDev()) d->regWrWithRdBack(*v, regAddr, false);
}

void GpmcRegTest::wrrd(unsigned short* w, unsigned short* r, unsigned short) {
  wr(w);
  rd(r);
}

FCRegTest::FCRegTest(std::string nm, std::string help, unsigned char page, unsigned char cmd, bool rprt,
                     bool contOnErr)
    : RegTest(std::move(nm), std::move(help), 0xFFFF, rprt, contOnErr, cmd), page(page), cmd(cmd) {}

void FCRegTest::rd(unsigned short* v) {
  FanCtlr fc;
  fc.rdFanCtlrReg(page, cmd, v);
}

void FCRegTest::wr(unsigned short* v) {
  FanCtlr fc;
  fc.wrFanCtlrReg(page, 2, cmd, *v);
}

void FCRegTest::wrrd(unsigned short* w, unsigned short* r, unsigned short) {
  wr(w);
  rd(r);
}

FCPg0FltLimRegTest::FCPg0FltLimRegTest(std::string nm, std::string help, bool rprt, bool contOnErr)
    : FCRegTest(std::move(nm), std::move(help), 0, FC_MFR_FAN_FAULT_LIMIT, rprt, contOnErr) {}

I2cByteRegTest::I2cByteRegTest(std::string nm, std::string help, std::string dev, unsigned char wrReg,
                               unsigned char rdReg, bool rprt, bool contOnErr)
    : RegTest(std::move(nm), std::move(help), 0xFF, rprt, contOnErr, wrReg), dev(std::move(dev)), wrReg(wrReg),
      rdReg(rdReg) {}

void I2cByteRegTest::rd(unsigned char* v) {
  I2cDevUtil util(dev, true, false);
  if (util.stat() == SUCCESS) rdReg8(util.getItr()->second, rdReg, v);
}

void I2cByteRegTest::wr(unsigned char* v) {
  I2cDevUtil util(dev, true, false);
  if (util.stat() == SUCCESS) wrReg8(util.getItr()->second, wrReg, *v);
}

void I2cByteRegTest::wrrd(unsigned char* w, unsigned char* r, unsigned char) {
  I2cDevUtil util(dev, true, false);
  if (util.stat() != SUCCESS) return;
  if (wrReg8(util.getItr()->second, wrReg, *w) == SUCCESS) rdReg8(util.getItr()->second, rdReg, r);
}

Z9MRefTempRegTest::Z9MRefTempRegTest(std::string nm, std::string help, bool rprt, bool contOnErr)
    : I2cByteRegTest(nm, std::move(help), nm.substr(0, nm.size() - 3), SA_LHIGH_WR, SA_LHIGH_RD, rprt, contOnErr) {}

FpGPORegTest::FpGPORegTest(std::string nm, std::string help, bool rprt, bool contOnErr)
    : I2cByteRegTest(std::move(nm), std::move(help), "fpfpga", FP_SCRATCH, FP_SCRATCH, rprt, contOnErr) {}
