// The simulated buses: switch routing, faults and EEPROM paging. The SMBus
// transfers the program makes are checked in i2cDevTest.cpp.
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>

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
  auto t0 = std::chrono::steady_clock::now();
  ASSERT_TRUE(bus.put({0x00, 0x3E, 1, 2, 3}));  // 0x3e, 0x3f, then back to 0x20
  // Storing the page, the part does not acknowledge its address (checked only
  // where the next attempt came soon enough to fall in the write cycle).
  bool answered = bus.put({0x00, 0x3E});
  if (std::chrono::steady_clock::now() - t0 < std::chrono::milliseconds(2)) {
    EXPECT_FALSE(answered);
  }
  ASSERT_TRUE(answered || waitUntil([&] { return bus.put({0x00, 0x3E}); }, 1000, 1));
  EXPECT_EQ(bus.get(2), (std::vector<unsigned char>{1, 2}));
  ASSERT_TRUE(bus.put({0x00, 0x20}));
  EXPECT_EQ(bus.get(1), std::vector<unsigned char>{3});
  ASSERT_TRUE(bus.put({0x0F, 0xFF}));  // the last byte, then round to the start
  EXPECT_EQ(bus.get(2), (std::vector<unsigned char>{0xFF, 'Z'}));
}

// The instrument's own controller, as its driver reports itself and as the
// kernel answers what it does not carry: no zero-length message (so no SMBus
// quick), and a block read of which only the count is read, the data being
// whatever the kernel's SMBus buffer held from before.
TEST_F(SimI2cBus, TheDefaultAdapterIsTheInstrumentsController) {
  unsigned long funcs = 0;
  ASSERT_EQ(kernel().ioctl(bus.fd, I2C_FUNCS, &funcs), 0);
  EXPECT_EQ(funcs, I2C_FUNC_I2C | (I2C_FUNC_SMBUS_EMUL & ~I2C_FUNC_SMBUS_QUICK) | I2C_FUNC_PROTOCOL_MANGLING);
  ASSERT_TRUE(bus.to(0x56));
  Trace t;
  char none = 0;
  EXPECT_EQ(i2c_smbus_access(bus.fd, I2C_SMBUS_WRITE, 0, I2C_SMBUS_QUICK, nullptr), -1);
  EXPECT_EQ(errno, EOPNOTSUPP);
  EXPECT_TRUE(kernel().write(bus.fd, &none, 0) == -1 && errno == EOPNOTSUPP);
  EXPECT_TRUE(kernel().read(bus.fd, &none, 0) == -1 && errno == EOPNOTSUPP);
  EXPECT_EQ(t.grep(" -> EOPNOTSUPP").size(), 3u);

  plantBlock();
  ASSERT_TRUE(bus.select(HOSTSW, 0x08) && bus.select(FPSW, 0x02) && bus.to(FPFPGA));
  union i2c_smbus_data d{};
  d.block[0] = 4;  // an I2C block read of 0x10-0x13 leaves 11 0f 01 00 in the kernel's buffer
  ASSERT_EQ(i2c_smbus_access(bus.fd, I2C_SMBUS_READ, 0x10, I2C_SMBUS_I2C_BLOCK_DATA, &d), 0);
  ASSERT_EQ(i2c_smbus_access(bus.fd, I2C_SMBUS_READ, 0x20, I2C_SMBUS_BLOCK_DATA, &d), 0);
  EXPECT_EQ(std::vector<unsigned>(d.block, d.block + 4), (std::vector<unsigned>{3, 0x0f, 0x01, 0x00}));
  EXPECT_EQ(i2c_smbus_read_byte(bus.fd), 0x61);  // the chip sent its count alone
}

// A full-featured adapter (as the kernel's I2C stub is) carries both; a block
// read is one message that the chip's count lengthens.
TEST_F(SimI2cBus, AFullAdapterCarriesQuickAndCountedBlockReads) {
  simctl({"set", "adapter", "full"});
  unsigned long funcs = 0;
  ASSERT_EQ(kernel().ioctl(bus.fd, I2C_FUNCS, &funcs), 0);
  EXPECT_EQ(funcs, I2C_FUNC_I2C | I2C_FUNC_SMBUS_EMUL_ALL);
  ASSERT_TRUE(bus.to(0x56));
  EXPECT_EQ(i2c_smbus_access(bus.fd, I2C_SMBUS_WRITE, 0, I2C_SMBUS_QUICK, nullptr), 0);
  EXPECT_EQ(i2c_smbus_access(bus.fd, I2C_SMBUS_WRITE, 0, I2C_SMBUS_QUICK, nullptr), 0);
  ASSERT_TRUE(bus.to(0x57));
  EXPECT_EQ(i2c_smbus_access(bus.fd, I2C_SMBUS_WRITE, 0, I2C_SMBUS_QUICK, nullptr), -1);  // nobody there
  // The fan controller starts its reply afresh with each message: a word read
  // as a block is its low byte as the count, then the high byte.
  ASSERT_TRUE(bus.select(HOSTSW, 0x02) && bus.to(FCTL));
  ASSERT_EQ(i2c_smbus_write_byte_data(bus.fd, 0x00, 2), 0);
  ASSERT_EQ(i2c_smbus_write_word_data(bus.fd, 0x3b, 0x0a03), 0);
  __u8 values[32] = {};
  ASSERT_EQ(i2c_smbus_read_block_data(bus.fd, 0x3b, values), 3);
  EXPECT_EQ(std::vector<unsigned>(values, values + 3), (std::vector<unsigned>{0x0a, 0xff, 0xff}));
}

// A combined transfer is the messages joined by repeated starts, each to its
// own address, answered as i2c-dev answers: the message count, or the first
// failure; the instrument's controller refuses a zero-length message and a
// message whose first byte sets its length.
TEST_F(SimI2cBus, CombinedTransfersJoinTheirMessagesAndFailAsTheKernelDoes) {
  auto rdwr = [&](std::vector<i2c_msg> msgs) {
    i2c_rdwr_ioctl_data d = {msgs.data(), static_cast<__u32>(msgs.size())};
    errno = 0;
    int r = kernel().ioctl(bus.fd, I2C_RDWR, &d);
    return r < 0 ? -errno : r;
  };
  unsigned char ctl = 0x02, held = 0, reg = 0x99, id = 0, word[2] = {0x00, 0x00}, data[4] = {};
  // The switch set and read back, then the fan controller's register: three messages, two addresses.
  EXPECT_EQ(rdwr({{HOSTSW, 0, 1, &ctl}, {HOSTSW, I2C_M_RD, 1, &held}, {FCTL, 0, 1, &reg}, {FCTL, I2C_M_RD, 1, &id}}),
            4);
  EXPECT_EQ(held, 0x02);
  EXPECT_EQ(id, 0x4D);
  // An EEPROM's random read: the offset written, then read from there.
  ctl = 0x01;
  EXPECT_EQ(rdwr({{HOSTSW, 0, 1, &ctl}, {0x50, 0, 2, word}, {0x50, I2C_M_RD, 4, data}}), 3);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(data), 4), "Z9 0");
  EXPECT_EQ(rdwr({{FCTL, 0, 1, &reg}}), -EREMOTEIO);  // channel 1 no longer selected
  EXPECT_EQ(rdwr({{HOSTSW, 0, 0, &ctl}}), -EOPNOTSUPP);
  EXPECT_EQ(rdwr({{HOSTSW, I2C_M_RD | I2C_M_RECV_LEN, 1, data}}), -EINVAL);
  EXPECT_EQ(rdwr({}), -EINVAL);
  EXPECT_EQ(rdwr(std::vector<i2c_msg>(I2C_RDWR_IOCTL_MAX_MSGS + 1, {HOSTSW, I2C_M_RD, 1, &held})), -EINVAL);
}
