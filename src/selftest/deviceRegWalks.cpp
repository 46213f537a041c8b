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
}  // namespace

GpmcRegTest::GpmcRegTest(const Devices& dev, std::string nm, std::string help, bool rprt, bool contOnErr)
    : RegTest(std::move(nm), std::move(help), 0xFFFF, rprt, contOnErr, FPGA_SCRATCH), fpga(dev.fpga) {}

void GpmcRegTest::rd(unsigned short* v) {
  if (GpmcDev* d = fpga.find("reg")) d->regRd(v, regAddr);
}

void GpmcRegTest::wr(unsigned short* v) {
  if (GpmcDev* d = fpga.find("reg")) d->regWrWithRdBack(*v, regAddr, false);
}

void GpmcRegTest::wrrd(unsigned short* w, unsigned short* r, unsigned short) {
  wr(w);
  rd(r);
}

FCRegTest::FCRegTest(const Devices& dev, std::string nm, std::string help, unsigned char page, unsigned char cmd,
                     bool rprt, bool contOnErr)
    : RegTest(std::move(nm), std::move(help), 0xFFFF, rprt, contOnErr, cmd), i2c(dev.i2c), page(page), cmd(cmd) {}

void FCRegTest::rd(unsigned short* v) {
  FanCtlr fc(i2c);
  fc.rdFanCtlrReg(page, cmd, v);
}

void FCRegTest::wr(unsigned short* v) {
  FanCtlr fc(i2c);
  fc.wrFanCtlrReg(page, 2, cmd, *v);
}

void FCRegTest::wrrd(unsigned short* w, unsigned short* r, unsigned short) {
  wr(w);
  rd(r);
}

FCPg0FltLimRegTest::FCPg0FltLimRegTest(const Devices& dev, std::string nm, std::string help, bool rprt, bool contOnErr)
    : FCRegTest(dev, std::move(nm), std::move(help), 0, FC_MFR_FAN_FAULT_LIMIT, rprt, contOnErr) {}

I2cByteRegTest::I2cByteRegTest(const Devices& devices, std::string nm, std::string help, std::string dev,
                               unsigned char wrReg, unsigned char rdReg, bool rprt, bool contOnErr)
    : RegTest(std::move(nm), std::move(help), 0xFF, rprt, contOnErr, wrReg), i2c(devices.i2c), dev(std::move(dev)),
      wrReg(wrReg), rdReg(rdReg) {}

void I2cByteRegTest::rd(unsigned char* v) {
  I2cDevUtil util(i2c, dev, true);
  if (util.stat() == SUCCESS) rdReg8(util.dev(), rdReg, v);
}

void I2cByteRegTest::wr(unsigned char* v) {
  I2cDevUtil util(i2c, dev, true);
  if (util.stat() == SUCCESS) wrReg8(util.dev(), wrReg, *v);
}

void I2cByteRegTest::wrrd(unsigned char* w, unsigned char* r, unsigned char) {
  I2cDevUtil util(i2c, dev, true);
  if (util.stat() != SUCCESS) return;
  if (wrReg8(util.dev(), wrReg, *w) == SUCCESS) rdReg8(util.dev(), rdReg, r);
}

Z9MRefTempRegTest::Z9MRefTempRegTest(const Devices& dev, std::string nm, std::string help, bool rprt, bool contOnErr)
    : I2cByteRegTest(dev, nm, std::move(help), nm.substr(0, nm.size() - 3), SA_LHIGH_WR, SA_LHIGH_RD, rprt,
                     contOnErr) {}

FpGPORegTest::FpGPORegTest(const Devices& dev, std::string nm, std::string help, bool rprt, bool contOnErr)
    : I2cByteRegTest(dev, std::move(nm), std::move(help), "fpfpga", FP_SCRATCH, FP_SCRATCH, rprt, contOnErr) {}
