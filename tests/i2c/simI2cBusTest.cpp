// The simulated buses: switch routing, shared addresses, kernel ABI, faults.
#include <gtest/gtest.h>

#include <cerrno>

#include "i2cTestUtil.h"

namespace {
constexpr int HOSTSW = 0x71, FPSW = 0x72, HOSTMUX = 0x74, FCTL = 0x52, FPFPGA = 0x40, EEPROM = 0x50;

class SimI2cBus : public ::testing::Test {
protected:
  void SetUp() override { resetSim(); }
};
}  // namespace

TEST_F(SimI2cBus, SwitchRoutesOnlySelectedChannelsAndKeepsTheSelection) {
  Bus bus;
  Trace t;
  ASSERT_TRUE(bus.to(FCTL));
  EXPECT_EQ(i2c_smbus_read_byte_data(bus.fd, 0x99), -1);  // behind hostsw channel 1, not selected
  EXPECT_EQ(errno, EREMOTEIO);
  EXPECT_EQ(t.grep("i2c-2 0x52 smbus read byte_data cmd 0x99 -> EREMOTEIO").size(), 1u);

  ASSERT_TRUE(bus.select(HOSTSW, 0x0A));  // channels 1 and 3 together
  EXPECT_EQ(bus.get(1), std::vector<unsigned char>{0x0A});
  ASSERT_TRUE(bus.to(FCTL));
  EXPECT_EQ(i2c_smbus_read_byte_data(bus.fd, 0x99), 0x4D);
  ASSERT_TRUE(bus.to(FPSW));  // channel 3 reaches the second-level switch
  EXPECT_TRUE(bus.put({0x02}));
  ASSERT_TRUE(bus.to(FPFPGA));
  EXPECT_EQ(i2c_smbus_read_byte_data(bus.fd, 0x10), 0x11);

  ASSERT_TRUE(bus.select(HOSTSW, 0x02));  // dropping channel 3 cuts the whole front-panel branch
  ASSERT_TRUE(bus.to(FPFPGA));
  EXPECT_EQ(i2c_smbus_read_byte_data(bus.fd, 0x10), -1);
  EXPECT_EQ(t.grep("i2c-2 0x71 write 0a").size(), 1u);
}

TEST_F(SimI2cBus, OldMuxSelectsOneChannelOnlyWithItsEnableBit) {
  simctl({"set", "rev", "2"});
  Bus bus;
  ASSERT_TRUE(bus.select(HOSTMUX, 0x01));  // channel 1 without the enable bit
  ASSERT_TRUE(bus.to(FCTL));
  EXPECT_EQ(i2c_smbus_read_byte_data(bus.fd, 0x99), -1);
  ASSERT_TRUE(bus.select(HOSTMUX, 0x05));
  ASSERT_TRUE(bus.to(FCTL));
  EXPECT_EQ(i2c_smbus_read_byte_data(bus.fd, 0x99), 0x4D);
  EXPECT_FALSE(bus.select(HOSTSW, 0x02));  // no PCA9545 on this revision
}

TEST_F(SimI2cBus, TwoChipsAtOneAddressBothTakeWritesAndReadAsWiredAnd) {
  Bus bus;
  ASSERT_TRUE(bus.select(HOSTSW, 0x03));  // communications and fan-control EEPROMs, both at 0x50
  ASSERT_TRUE(bus.to(EEPROM));
  ASSERT_TRUE(bus.put({0x01, 0x00, 0xF0, 0x3C}));
  ASSERT_TRUE(bus.select(HOSTSW, 0x01));
  ASSERT_TRUE(bus.to(EEPROM));
  ASSERT_TRUE(bus.put({0x00, 0x03}));
  std::vector<unsigned char> comm = bus.get(4);  // "Z9 0996 ..." alone
  EXPECT_EQ(std::string(comm.begin(), comm.end()), "0996");

  ASSERT_TRUE(bus.select(HOSTSW, 0x03));
  ASSERT_TRUE(bus.to(EEPROM));
  ASSERT_TRUE(bus.put({0x00, 0x03}));
  std::vector<unsigned char> both = bus.get(4);  // "0996" AND "0995"
  EXPECT_EQ(both, (std::vector<unsigned char>{'0', '9', '9', '6' & '5'}));
  ASSERT_TRUE(bus.put({0x01, 0x00}));
  EXPECT_EQ(bus.get(2), (std::vector<unsigned char>{0xF0, 0x3C}));  // both were written
}

TEST_F(SimI2cBus, KernelAbiIsValidatedLikeI2cDev) {
  Bus missing(7);
  EXPECT_LT(missing.fd, 0);
  EXPECT_EQ(errno, ENOENT);

  Bus bus;
  EXPECT_EQ(kernel().ioctlVal(bus.fd, I2C_SLAVE, 0x80), -1);
  EXPECT_EQ(errno, EINVAL);
  unsigned long funcs = 0;
  EXPECT_EQ(kernel().ioctl(bus.fd, I2C_FUNCS, &funcs), 0);
  EXPECT_TRUE(funcs & I2C_FUNC_SMBUS_WORD_DATA);

  ASSERT_TRUE(bus.to(FCTL));
  union i2c_smbus_data d = {};
  EXPECT_EQ(i2c_smbus_access(bus.fd, I2C_SMBUS_READ, 0, 42, &d), -1);  // no such transfer size
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(i2c_smbus_access(bus.fd, 7, 0, I2C_SMBUS_BYTE_DATA, &d), -1);  // neither read nor write
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(i2c_smbus_access(bus.fd, I2C_SMBUS_READ, 0, I2C_SMBUS_WORD_DATA, nullptr), -1);
  EXPECT_EQ(errno, EINVAL);
  d.block[0] = 33;
  EXPECT_EQ(i2c_smbus_access(bus.fd, I2C_SMBUS_WRITE, 0, I2C_SMBUS_BLOCK_DATA, &d), -1);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(kernel().ioctl(bus.fd, 0x1234, nullptr), -1);
  EXPECT_EQ(errno, ENOTTY);
}

TEST_F(SimI2cBus, SmbusTransfersDecomposeIntoPlainMessages) {
  Bus bus;
  Trace t;
  ASSERT_TRUE(bus.select(HOSTSW, 0x08));
  ASSERT_TRUE(bus.select(FPSW, 0x02));
  ASSERT_TRUE(bus.to(FPFPGA));
  // A block write is [command, count, data...]: the FPGA's pointer takes the
  // command and its registers the count and the data.
  const __u8 data[] = {0x03, 'a', 'b'};
  EXPECT_EQ(i2c_smbus_write_block_data(bus.fd, 0x20, 3, data), 0);
  EXPECT_EQ(i2c_smbus_read_byte_data(bus.fd, 0x20), 3);
  EXPECT_EQ(i2c_smbus_read_word_data(bus.fd, 0x22), 'a' | ('b' << 8));  // low byte first
  __u8 got[32] = {};
  EXPECT_EQ(i2c_smbus_read_block_data(bus.fd, 0x20, got), 3);  // count byte, then the data
  EXPECT_EQ(std::string(reinterpret_cast<char*>(got), 3), std::string("\x03" "ab", 3));
  EXPECT_EQ(i2c_smbus_write_byte(bus.fd, 0x30), 0);  // the bare command sets the pointer
  union i2c_smbus_data d;
  EXPECT_EQ(i2c_smbus_access(bus.fd, I2C_SMBUS_READ, 0, I2C_SMBUS_BYTE, &d), 0);
  EXPECT_EQ(d.byte, 0);
  EXPECT_EQ(i2c_smbus_access(bus.fd, I2C_SMBUS_WRITE, 0, I2C_SMBUS_QUICK, nullptr), 0);

  EXPECT_EQ(i2c_smbus_read_block_data(bus.fd, 0x00, got), -1);  // register 0 holds count 0
  EXPECT_EQ(errno, EPROTO);
  EXPECT_EQ(t.grep("i2c-2 0x40 smbus write block_data cmd 0x20 data 03 61 62").size(), 1u);
  EXPECT_EQ(t.grep("i2c-2 0x40 smbus read word_data cmd 0x22 -> 6261").size(), 1u);
  EXPECT_EQ(t.grep("i2c-2 0x40 smbus read block_data cmd 0x20 -> 03 61 62").size(), 1u);
  EXPECT_EQ(t.grep("i2c-2 0x40 smbus write byte cmd 0x30").size(), 1u);
  EXPECT_EQ(t.grep("i2c-2 0x40 smbus write quick").size(), 1u);
  EXPECT_EQ(t.grep("i2c-2 0x40 smbus read block_data cmd 0x00 -> EPROTO").size(), 1u);
}

TEST_F(SimI2cBus, InjectedFaultsSilenceChipsAndSwitches) {
  Bus bus;
  ASSERT_TRUE(bus.select(HOSTSW, 0x02));
  simctl({"i2c", "nack", "hostsw", "on"});
  EXPECT_FALSE(bus.select(HOSTSW, 0x08));
  ASSERT_TRUE(bus.to(FCTL));  // a silent switch still routes as it was set
  EXPECT_EQ(i2c_smbus_read_byte_data(bus.fd, 0x99), 0x4D);
  simctl({"i2c", "nack", "hostsw", "off"});

  simctl({"i2c", "absent", "hostsw", "on"});  // nothing behind an absent switch answers
  ASSERT_TRUE(bus.to(FCTL));
  EXPECT_EQ(i2c_smbus_read_byte_data(bus.fd, 0x99), -1);
  simctl({"i2c", "absent", "hostsw", "off"});

  simctl({"i2c", "ignore-ctl", "hostsw", "on"});
  EXPECT_TRUE(bus.select(HOSTSW, 0x08));  // acknowledged, but the selection stays
  EXPECT_EQ(bus.get(1), std::vector<unsigned char>{0x02});
  EXPECT_NE(simctl({"i2c", "list"}).find("ignores-control"), std::string::npos);
  simctl({"i2c", "clear"});
  EXPECT_TRUE(bus.select(HOSTSW, 0x08));
  EXPECT_EQ(bus.get(1), std::vector<unsigned char>{0x08});
}

TEST_F(SimI2cBus, StuckRegisterBitShowsInReadBackAndOnTheOkayLine) {
  simctl({"i2c", "stuck", "fpfpga", "0x10", "4", "0"});
  Bus bus;
  ASSERT_TRUE(bus.select(HOSTSW, 0x08));
  ASSERT_TRUE(bus.select(FPSW, 0x02));
  ASSERT_TRUE(bus.to(FPFPGA));
  EXPECT_EQ(i2c_smbus_write_byte_data(bus.fd, 0x10, 0x11), 0);
  EXPECT_EQ(i2c_smbus_read_byte_data(bus.fd, 0x10), 0x01);
  EXPECT_FALSE(sourcesOkay());  // the front panel's okay output needs bit 4 of register 0x10
  simctl({"i2c", "unstuck", "fpfpga"});
  EXPECT_FALSE(sourcesOkay());  // the register kept what the stuck bit let through
  EXPECT_EQ(i2c_smbus_write_byte_data(bus.fd, 0x10, 0x11), 0);
  EXPECT_TRUE(sourcesOkay());

  simctl({"i2c", "stuck", "bp-eeprom", "0x004", "1", "1"});
  ASSERT_TRUE(bus.select(HOSTSW, 0x08));
  ASSERT_TRUE(bus.select(FPSW, 0x00));
  ASSERT_TRUE(bus.to(EEPROM));
  ASSERT_TRUE(bus.put({0x00, 0x03}));
  EXPECT_EQ(bus.get(3), (std::vector<unsigned char>{'0', '9' | 2, '7'}));
}

TEST_F(SimI2cBus, EepromWritesWrapInTheirPageAndReadsRunOn) {
  Bus bus;
  ASSERT_TRUE(bus.to(0x56));  // the main host's own EEPROM, directly on the adapter
  EXPECT_EQ(bus.get(17), std::vector<unsigned char>({'Z', '9', ' ', '0', '9', '8', '0', ' ', 'm', 'a', 'i', 'n', ' ',
                                                      'h', 'o', 's', 't'}));
  ASSERT_TRUE(bus.put({0x00, 0x3E, 1, 2, 3}));  // 0x3e, 0x3f, then back to 0x20
  ASSERT_TRUE(bus.put({0x00, 0x3E}));
  EXPECT_EQ(bus.get(3), (std::vector<unsigned char>{1, 2, 0xFF}));
  ASSERT_TRUE(bus.put({0x00, 0x20}));
  EXPECT_EQ(bus.get(1), std::vector<unsigned char>{3});
  ASSERT_TRUE(bus.put({0x0F, 0xFF}));  // the last byte, then round to the start
  EXPECT_EQ(bus.get(2), (std::vector<unsigned char>{0xFF, 'Z'}));
}
