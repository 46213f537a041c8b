// The chip models as the chips behave: the MAX31785 fan controller and the
// SA56004X temperature sensor.
#include <gtest/gtest.h>

#include <cerrno>

#include "i2cTestUtil.h"

namespace {
constexpr int HOSTSW = 0x71;
constexpr __u8 PAGE = 0x00, CLEAR_FAULTS = 0x03, FAN_COMMAND_1 = 0x3B, STATUS_FANS_1_2 = 0x81,
               READ_FAN_SPEED_1 = 0x90, FAULT_LIMIT = 0xF5, READ_TEMPERATURE_1 = 0x8D;

// A chip behind a channel of the host switch, addressed.
template <unsigned char CHANNEL, int ADDR>
class OnChip : public ::testing::Test {
protected:
  void SetUp() override {
    simctl({"reset"});
    ASSERT_TRUE(bus.select(HOSTSW, CHANNEL));
    ASSERT_TRUE(bus.to(ADDR));
  }
  int rd(__u8 cmd) { return i2c_smbus_read_byte_data(bus.fd, cmd); }
  Bus bus;
};

class SimFanCtl : public OnChip<0x02, 0x52> {
protected:
  int onPage(int page, __u8 cmd) {
    return i2c_smbus_write_byte_data(bus.fd, PAGE, static_cast<__u8>(page)) == 0 ? i2c_smbus_read_word_data(bus.fd, cmd)
                                                                                  : -2;
  }
  // Polls the fan's speed until it reads rpm; false when it does not within the bound.
  bool speedReaches(int page, int rpm) {
    return waitUntil([&] { return onPage(page, READ_FAN_SPEED_1) == rpm; }, 5000, 25);
  }
};

using SimTempSensor = OnChip<0x04, 0x48>;
}  // namespace

TEST_F(SimFanCtl, PageSelectsWhichFansRegistersAWordReadReturns) {
  ASSERT_EQ(i2c_smbus_write_byte_data(bus.fd, PAGE, 2), 0);
  ASSERT_EQ(i2c_smbus_write_word_data(bus.fd, FAULT_LIMIT, 0x0123), 0);
  EXPECT_EQ(onPage(2, FAULT_LIMIT), 0x0123);
  EXPECT_EQ(onPage(0, FAULT_LIMIT), 0x0168);  // power-on limit, untouched on page 0
  EXPECT_EQ(rd(PAGE), 0);
  EXPECT_EQ(onPage(6, READ_TEMPERATURE_1), 3100);  // hundredths of a degree on the sensor page
  EXPECT_EQ(i2c_smbus_read_word_data(bus.fd, READ_FAN_SPEED_1), -1);  // no fan on page 6
  EXPECT_EQ(errno, EREMOTEIO);
  EXPECT_EQ(i2c_smbus_write_byte_data(bus.fd, PAGE, 9), -1);  // no page 9
  EXPECT_EQ(rd(PAGE), 6);
}

TEST_F(SimFanCtl, SpeedFollowsTheCommandAfterSettling) {
  simctl({"i2c", "fan-settle", "60000"});  // slow enough to catch the fan on its way
  ASSERT_EQ(i2c_smbus_write_byte_data(bus.fd, PAGE, 1), 0);
  ASSERT_EQ(i2c_smbus_write_word_data(bus.fd, FAN_COMMAND_1, 0x17C0), 0);  // 100 %
  int midway = onPage(1, READ_FAN_SPEED_1);
  EXPECT_TRUE(midway >= 0x0BE0 && midway < 0x17C0) << midway;
  EXPECT_EQ(onPage(0, READ_FAN_SPEED_1), 0x0BE0);  // the other fans keep their speed

  simctl({"i2c", "fan-settle", "200"});
  EXPECT_TRUE(speedReaches(1, 0x17C0));
  ASSERT_EQ(i2c_smbus_write_byte_data(bus.fd, PAGE, 1), 0);
  ASSERT_EQ(i2c_smbus_write_word_data(bus.fd, FAN_COMMAND_1, 0), 0);
  EXPECT_TRUE(speedReaches(1, 0));
}

TEST_F(SimFanCtl, FaultBitsRiseLatchAndClearWithTheFaultOutput) {
  EXPECT_TRUE(sourcesOkay());
  ASSERT_EQ(i2c_smbus_write_byte_data(bus.fd, PAGE, 0), 0);
  ASSERT_EQ(i2c_smbus_write_word_data(bus.fd, FAULT_LIMIT, 0x7FFF), 0);  // above any speed
  EXPECT_EQ(rd(STATUS_FANS_1_2) & 0xF0, 0x80);
  EXPECT_FALSE(sourcesOkay());

  ASSERT_EQ(i2c_smbus_write_word_data(bus.fd, FAULT_LIMIT, 0x0168), 0);
  EXPECT_EQ(rd(STATUS_FANS_1_2) & 0xF0, 0x80);  // latched
  EXPECT_FALSE(sourcesOkay());
  ASSERT_EQ(i2c_smbus_write_byte(bus.fd, CLEAR_FAULTS), 0);
  EXPECT_EQ(i2c_smbus_read_byte(bus.fd), 0xFF);  // a send-only command has no data, but the chip answers
  EXPECT_EQ(rd(STATUS_FANS_1_2) & 0xF0, 0);
  EXPECT_TRUE(sourcesOkay());

  simctl({"i2c", "fan-fail", "4", "on"});  // fan 4 stands still: below its limit at once
  EXPECT_EQ(onPage(3, READ_FAN_SPEED_1), 0);
  EXPECT_EQ(rd(STATUS_FANS_1_2) & 0x80, 0x80);
  EXPECT_EQ(i2c_smbus_read_word_data(bus.fd, 0x79) & 0x0400, 0x0400);  // STATUS_WORD: fans
  EXPECT_FALSE(sourcesOkay());
}

TEST_F(SimTempSensor, OverTemperatureOutputFollowsTemperatureAgainstSetPoint) {
  EXPECT_EQ(rd(0x00), 31);
  EXPECT_EQ(rd(0x05), 70);  // power-on local high set-point
  EXPECT_TRUE(sourcesOkay());

  ASSERT_EQ(i2c_smbus_write_byte_data(bus.fd, 0x0B, 0x00), 0);  // written through 0x0B, read at 0x05
  EXPECT_EQ(rd(0x05), 0);
  EXPECT_FALSE(sourcesOkay());
  EXPECT_EQ(rd(0x02) & 0x40, 0x40);  // local high alarm

  ASSERT_EQ(i2c_smbus_write_byte_data(bus.fd, 0x0B, 0x46), 0);
  EXPECT_TRUE(sourcesOkay());
  EXPECT_EQ(rd(0x02) & 0x40, 0x40);  // latched until this read
  EXPECT_EQ(rd(0x02) & 0x40, 0);

  simctl({"set", "temp", "75.5"});
  EXPECT_FALSE(sourcesOkay());
  EXPECT_EQ(rd(0x22), 0x80);  // half a degree in the low byte
  ASSERT_EQ(i2c_smbus_write_byte_data(bus.fd, 0x09, 0x80), 0);  // configuration masks the output
  EXPECT_EQ(rd(0x03), 0x80);
  EXPECT_TRUE(sourcesOkay());
}
