// The simulated buses: switch routing, faults and EEPROM paging. The SMBus
// transfers the program makes are checked in i2cDevTest.cpp.
#include <gtest/gtest.h>

#include <cerrno>

#include "i2cTestUtil.h"

namespace {
constexpr int HOSTSW = 0x71, FPSW = 0x72, HOSTMUX = 0x74, FCTL = 0x52, FPFPGA = 0x40;

class SimI2cBus : public I2cTest {
protected:
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
  ASSERT_TRUE(bus.select(FPSW, 0x02) && bus.to(FPFPGA));  // channel 3 reaches the second-level switch
  EXPECT_EQ(i2c_smbus_read_byte_data(bus.fd, 0x10), 0x11);
  ASSERT_TRUE(bus.select(HOSTSW, 0x02) && bus.to(FPFPGA));  // dropping channel 3 cuts the whole front-panel branch
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

// Nacking and absent chips and switches are met through the program's tests.
TEST_F(SimI2cBus, SwitchThatIgnoresItsControlByteAcknowledgesItAndKeepsItsSelection) {
  ASSERT_TRUE(bus.select(HOSTSW, 0x02));
  simctl({"i2c", "ignore-ctl", "hostsw", "on"});
  EXPECT_TRUE(bus.select(HOSTSW, 0x08));
  EXPECT_EQ(bus.get(1), std::vector<unsigned char>{0x02});
  EXPECT_EQ(fanCtlId(), 0x4D);
}

TEST_F(SimI2cBus, StuckRegisterBitShowsInReadBackUntilRewritten) {
  simctl({"i2c", "stuck", "fpfpga", "0x10", "4", "0"});
  ASSERT_TRUE(bus.select(HOSTSW, 0x08) && bus.select(FPSW, 0x02) && bus.to(FPFPGA));
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
