#pragma once
#include <string>
#include <vector>

#include "devices.h"
#include "memTest.h"
#include "regTest.h"

// The scratch register of the board FPGA.
class GpmcRegTest : public RegTest<unsigned short> {
public:
  GpmcRegTest(const Devices& dev, std::string nm, std::string help, bool rprt, bool contOnErr);
  void rd(unsigned short* v) override;
  void wr(unsigned short* v) override;
  void wrrd(unsigned short* w, unsigned short* r, unsigned short mask) override;

private:
  GpmcDevMap& fpga;
};

// A 16-bit register of the fan controller on one page.
class FCRegTest : public RegTest<unsigned short> {
public:
  FCRegTest(const Devices& dev, std::string nm, std::string help, unsigned char page, unsigned char cmd, bool rprt,
            bool contOnErr);
  void rd(unsigned short* v) override;
  void wr(unsigned short* v) override;
  void wrrd(unsigned short* w, unsigned short* r, unsigned short mask) override;

private:
  I2cDevMap& i2c;
  unsigned char page;
  unsigned char cmd;
};

// The fan controller's page-0 fan fault limit register.
class FCPg0FltLimRegTest : public FCRegTest {
public:
  FCPg0FltLimRegTest(const Devices& dev, std::string nm, std::string help, bool rprt, bool contOnErr);
};

// A byte register of an I2C chip written at one address and read at another.
class I2cByteRegTest : public RegTest<unsigned char> {
public:
  I2cByteRegTest(const Devices& devices, std::string nm, std::string help, std::string dev, unsigned char wrReg,
                 unsigned char rdReg, bool rprt, bool contOnErr);
  void rd(unsigned char* v) override;
  void wr(unsigned char* v) override;
  void wrrd(unsigned char* w, unsigned char* r, unsigned char mask) override;

private:
  I2cDevMap& i2c;
  std::string dev;
  unsigned char wrReg, rdReg;
};

// The local high set-point of a main-reference temperature sensor, chosen by the test's name.
class Z9MRefTempRegTest : public I2cByteRegTest {
public:
  Z9MRefTempRegTest(const Devices& dev, std::string nm, std::string help, bool rprt, bool contOnErr);
};

// The general-purpose scratch register of the front-panel FPGA.
class FpGPORegTest : public I2cByteRegTest {
public:
  FpGPORegTest(const Devices& dev, std::string nm, std::string help, bool rprt, bool contOnErr);
};

// Repeated fast writes of a fixed message to one I2C chip.
class I2CFastRegAxsTest : public Test {
public:
  I2CFastRegAxsTest(const Devices& devices, std::string nm, std::string help, std::string dev, std::string data,
                    unsigned int reg, bool rprt, bool contOnErr);

protected:
  std::span<const char* const> usageHead() const override { return {&usageLine, 1}; }
  std::span<const OptDecl* const> options() const override;
  E_STATUS run(const Args& args) override;

private:
  I2cDevMap& i2c;
  std::string usageText;
  const char* usageLine;
  std::string dev;
  std::string dataHex;
  unsigned int reg;
};

// Every registered I2C device that the scan does not skip answers on its bus.
class I2cScanTest : public Test {
public:
  I2cScanTest(const Devices& dev, std::string nm, std::string help, bool, bool)
      : Test(std::move(nm), std::move(help), ""), i2c(dev.i2c) {}

protected:
  std::span<const char* const> usageHead() const override;
  E_STATUS run(const Args& args) override;

private:
  I2cDevMap& i2c;
};

// The cables to the connected boards, through the chips on their far ends.
class Z9CableConnTest : public Test {
public:
  Z9CableConnTest(const Devices& dev, std::string nm, std::string help, bool, bool)
      : Test(std::move(nm), std::move(help), ""), i2c(dev.i2c) {}

protected:
  std::span<const char* const> usageHead() const override;
  E_STATUS run(const Args& args) override;

private:
  I2cDevMap& i2c;
};

// Tests whose hardware this build does not reach.
#define DIAG_UNAVAILABLE_TEST(cls)          \
  class cls : public UnavailableTest {      \
  public:                                   \
    using UnavailableTest::UnavailableTest; \
  }
// Register walks among them, which still answer -h.
#define DIAG_UNAVAILABLE_REG_TEST(cls)               \
  class cls : public UnavailableTest {               \
  public:                                            \
    using UnavailableTest::UnavailableTest;          \
                                                     \
  protected:                                         \
    bool isRegTest() const override { return true; } \
  }
DIAG_UNAVAILABLE_REG_TEST(Z9CoreTempRegTest);
DIAG_UNAVAILABLE_REG_TEST(Z9HostLEDDriverRegTest);
DIAG_UNAVAILABLE_REG_TEST(PSCFPGAWCRegTest);
DIAG_UNAVAILABLE_REG_TEST(PSCFPGASPRegTest);
DIAG_UNAVAILABLE_TEST(MeasFastRngRegTest);
DIAG_UNAVAILABLE_TEST(MeasBrdTest);
DIAG_UNAVAILABLE_TEST(MeasAcqTest);
DIAG_UNAVAILABLE_TEST(GndContChkTest);
DIAG_UNAVAILABLE_TEST(LVSInitNStatTest);
