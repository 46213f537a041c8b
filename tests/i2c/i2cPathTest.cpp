// Selecting a device's multiplexer path: chip and control byte by board
// revision, which is read anew for each selection.
#include <gtest/gtest.h>

#include "i2cDevMap.h"
#include "i2cPath.h"
#include "i2cTestUtil.h"

namespace {
class I2cPathSelect : public ::testing::Test {
protected:
  void SetUp() override {
    resetSim();
    I2cDevMap::getI2cDevMap();  // built before the counts and traces the tests look at
  }
  void rev(int r) { simctl({"set", "rev", std::to_string(r)}); }
};
}  // namespace

TEST_F(I2cPathSelect, MainHostChannelThreeByRevision) {
  I2CPath p("bpEeprom", MAIN, 3, NO_MUX, 0);
  rev(2);
  Trace t;
  EXPECT_EQ(p.setMuxes(1), SUCCESS);
  EXPECT_EQ(t.grep("i2c-2 0x74 write 07").size(), 1u);
  EXPECT_TRUE(t.grep("0x71").empty());
  rev(3);
  t.mark();
  EXPECT_EQ(p.setMuxes(1), SUCCESS);
  EXPECT_EQ(t.grep("i2c-2 0x71 write 08").size(), 1u);
  EXPECT_TRUE(t.grep("0x74").empty());
}

TEST_F(I2cPathSelect, SecondLevelOfEachHost) {
  rev(4);
  Trace t;
  EXPECT_EQ(I2CPath("fpfpga", MAIN, 3, 1, 0).setMuxes(1), SUCCESS);
  EXPECT_EQ(t.grep("write").size(), 2u);
  EXPECT_EQ(t.grep("i2c-2 0x71 write 08").size(), 1u);
  EXPECT_EQ(t.grep("i2c-2 0x72 write 02").size(), 1u);
  // The signal host's second level is written the old way also to the switch.
  t.mark();
  EXPECT_EQ(I2CPath("x", SIGNAL, 3, 1, 0).setSigLclMux(1), SUCCESS);
  EXPECT_EQ(t.grep("i2c-2 0x72 write 05").size(), 1u);

  rev(2);
  t.mark();
  EXPECT_EQ(I2CPath("fpfpga", MAIN, 3, 1, 0).setMuxes(1), SUCCESS);
  EXPECT_EQ(t.grep("i2c-2 0x74 write 07").size(), 1u);
  EXPECT_EQ(t.grep("i2c-2 0x75 write 05").size(), 1u);
}

TEST_F(I2cPathSelect, NoHostChannelOrNoMultiplexedHostWritesNothing) {
  kernel().resetCounts();
  Trace t;
  EXPECT_EQ(I2CPath("x", MAIN, NO_MUX, 1, 0).setMuxes(1), SUCCESS);
  EXPECT_EQ(I2CPath("x", CORE, 1, 1, 0).setMuxes(1), SUCCESS);
  EXPECT_EQ(kernel().counts().total(), 0u);
  EXPECT_TRUE(t.lines().empty());
}

TEST_F(I2cPathSelect, FailedControlByteShowsOnlyInItsMessage) {
  simctl({"i2c", "nack", "hostsw", "on"});
  I2CPath p("fctl", MAIN, 1, NO_MUX, 0);
  testing::internal::CaptureStdout();
  EXPECT_EQ(p.setMuxes(1), SUCCESS);
  EXPECT_NE(testing::internal::GetCapturedStdout().find("failed to write device hostsw(0x71) bytesWritten= -1"),
            std::string::npos);
  testing::internal::CaptureStdout();
  EXPECT_EQ(p.setMuxes(0), SUCCESS);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}
