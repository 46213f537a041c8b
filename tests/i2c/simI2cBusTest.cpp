// The simulated buses: switch routing, shared addresses, kernel ABI, faults.
// The SMBus transfers the program makes are checked in i2cDevTest.cpp.
#include <gtest/gtest.h>

#include <cerrno>

#include "i2cTestUtil.h"

namespace {
constexpr int HOSTSW = 0x71, FPSW = 0x72, HOSTMUX = 0x74, FCTL = 0x52, FPFPGA = 0x40, EEPROM = 0x50;

class SimI2cBus : public ::testing::Test {
protected:
  void SetUp() override { resetSim(); }
  // Register 0x99 of the fan controller, behind hostsw (or hostmux) channel 1.
  int fanCtlId() { return bus.to(FCTL) ? i2c_smbus_read_byte_data(bus.fd, 0x99) : -2; }
  Bus bus;
};
}  // namespace

TEST_F(SimI2cBus, SwitchRoutesOnlySelectedChannelsAndKeepsTheSelection) {
  Trace t;
  EXPECT_EQ(fanCtlId(), -1);  // channel 1 not selected
  EXPECT_EQ(errno, EREMOTEIO);
  EXPECT_EQ(t.grep("i2c-2 0x52 smbus read byte_data cmd 0x99 -> EREMOTEIO").size(), 1u);
  ASSERT_TRUE(bus.select(HOSTSW, 0x0A));  // channels 1 and 3 together
  EXPECT_EQ(bus.get(1), std::vector<unsigned char>{0x0A});
  EXPECT_EQ(fanCtlId(), 0x4D);
  ASSERT_TRUE(bus.select(FPSW, 0x02));  // channel 3 reaches the second-level switch
  ASSERT_TRUE(bus.to(FPFPGA));
  EXPECT_EQ(i2c_smbus_read_byte_data(bus.fd, 0x10), 0x11);
  ASSERT_TRUE(bus.select(HOSTSW, 0x02));  // dropping channel 3 cuts the whole front-panel branch
  ASSERT_TRUE(bus.to(FPFPGA));
  EXPECT_EQ(i2c_smbus_read_byte_data(bus.fd, 0x10), -1);
}

TEST_F(SimI2cBus, OldMuxSelectsOneChannelOnlyWithItsEnableBit) {
  simctl({"set", "rev", "2"});
  ASSERT_TRUE(bus.select(HOSTMUX, 0x01));  // channel 1 without the enable bit
  EXPECT_EQ(fanCtlId(), -1);
  ASSERT_TRUE(bus.select(HOSTMUX, 0x05));
  EXPECT_EQ(fanCtlId(), 0x4D);
  EXPECT_FALSE(bus.select(HOSTSW, 0x02));  // no switch on this revision
}

TEST_F(SimI2cBus, TwoChipsAtOneAddressBothTakeWritesAndReadAsWiredAnd) {
  ASSERT_TRUE(bus.select(HOSTSW, 0x03));  // communications and fan-control EEPROMs, both at 0x50
  ASSERT_TRUE(bus.to(EEPROM));
  ASSERT_TRUE(bus.put({0x01, 0x00, 0xF0, 0x3C}));
  ASSERT_TRUE(bus.put({0x00, 0x03}));
  EXPECT_EQ(bus.get(4), (std::vector<unsigned char>{'0', '9', '9', '6' & '5'}));  // "0996" and "0995"
  for (unsigned char alone : {0x01, 0x02}) {  // each took the write
    ASSERT_TRUE(bus.select(HOSTSW, alone));
    ASSERT_TRUE(bus.to(EEPROM));
    ASSERT_TRUE(bus.put({0x01, 0x00}));
    EXPECT_EQ(bus.get(2), (std::vector<unsigned char>{0xF0, 0x3C})) << int(alone);
  }
}

// Requests the program never makes, refused as the kernel refuses them.
TEST_F(SimI2cBus, MalformedRequestsAreRefusedLikeI2cDev) {
  ASSERT_TRUE(bus.to(FCTL));
  union i2c_smbus_data d = {};
  d.block[0] = 33;
  const struct {
    char rw;
    int size;
    i2c_smbus_data* data;
  } bad[] = {{I2C_SMBUS_READ, 42, &d}, {7, I2C_SMBUS_BYTE_DATA, &d}, {I2C_SMBUS_READ, I2C_SMBUS_WORD_DATA, nullptr},
             {I2C_SMBUS_WRITE, I2C_SMBUS_BLOCK_DATA, &d}};  // no such size, neither read nor write, no data, too long
  for (const auto& b : bad) {
    errno = 0;
    EXPECT_EQ(i2c_smbus_access(bus.fd, b.rw, 0, b.size, b.data), -1) << b.size;
    EXPECT_EQ(errno, EINVAL) << b.size;
  }
  EXPECT_EQ(kernel().ioctlVal(bus.fd, I2C_SLAVE, 0x80), -1);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(kernel().ioctl(bus.fd, 0x1234, nullptr), -1);
  EXPECT_EQ(errno, ENOTTY);
}

TEST_F(SimI2cBus, InjectedFaultsSilenceChipsAndSwitches) {
  ASSERT_TRUE(bus.select(HOSTSW, 0x02));
  simctl({"i2c", "nack", "hostsw", "on"});
  EXPECT_FALSE(bus.select(HOSTSW, 0x08));
  EXPECT_EQ(fanCtlId(), 0x4D);  // a silent switch still routes as it was set
  simctl({"i2c", "clear"});
  simctl({"i2c", "ignore-ctl", "hostsw", "on"});
  EXPECT_TRUE(bus.select(HOSTSW, 0x08));  // acknowledged, but the selection stays
  EXPECT_EQ(bus.get(1), std::vector<unsigned char>{0x02});
  simctl({"i2c", "clear"});
  simctl({"i2c", "absent", "hostsw", "on"});  // nothing behind an absent switch answers
  EXPECT_EQ(fanCtlId(), -1);
}

TEST_F(SimI2cBus, StuckRegisterBitShowsInReadBackUntilRewritten) {
  simctl({"i2c", "stuck", "fpfpga", "0x10", "4", "0"});
  ASSERT_TRUE(bus.select(HOSTSW, 0x08));
  ASSERT_TRUE(bus.select(FPSW, 0x02));
  ASSERT_TRUE(bus.to(FPFPGA));
  EXPECT_EQ(i2c_smbus_write_byte_data(bus.fd, 0x10, 0x11), 0);
  EXPECT_EQ(i2c_smbus_read_byte_data(bus.fd, 0x10), 0x01);
  simctl({"i2c", "unstuck", "fpfpga"});
  EXPECT_EQ(i2c_smbus_read_byte_data(bus.fd, 0x10), 0x01);  // the register kept what the stuck bit let through
  EXPECT_EQ(i2c_smbus_write_byte_data(bus.fd, 0x10, 0x11), 0);
  EXPECT_EQ(i2c_smbus_read_byte_data(bus.fd, 0x10), 0x11);
}

TEST_F(SimI2cBus, EepromWritesWrapInTheirPageAndReadsRunOn) {
  ASSERT_TRUE(bus.to(0x56));  // the main host's own EEPROM, directly on the adapter
  ASSERT_TRUE(bus.put({0x00, 0x3E, 1, 2, 3}));  // 0x3e, 0x3f, then back to 0x20
  ASSERT_TRUE(bus.put({0x00, 0x3E}));
  EXPECT_EQ(bus.get(3), (std::vector<unsigned char>{1, 2, 0xFF}));
  ASSERT_TRUE(bus.put({0x00, 0x20}));
  EXPECT_EQ(bus.get(1), std::vector<unsigned char>{3});
  ASSERT_TRUE(bus.put({0x0F, 0xFF}));  // the last byte, then round to the start
  EXPECT_EQ(bus.get(2), (std::vector<unsigned char>{0xFF, 'Z'}));
}
