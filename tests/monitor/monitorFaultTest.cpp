// The fan controller and the all-okay sources when their chips fail part-way:
// each failure is reported and what the command did after it is checked.
#include <gtest/gtest.h>

#include <string>

#include "allOkayMap.h"
#include "cmdRun.h"
#include "i2cDevMap.h"
#include "testEnv.h"
#include "textUtil.h"

namespace {
const char* const SMBUS = "0x0720";  // I2C_SMBUS

struct MonitorFaultTest : FreshBoard {
  void TearDown() override { simctl({"kernel", "clear"}); }
  // Sets source's okay out to ok, expecting status want and each of texts printed.
  static void setOkay(const char* source, bool ok, E_STATUS want, const std::vector<std::string>& texts) {
    AllOkayMap m(testBoard().devices);
    EXPECT_TRUE(holdsAll(captured([&] { EXPECT_EQ(m.find(source)->setOkayOut(ok, false), want) << source; }), texts));
  }
};
}  // namespace

// The page is selected, then the speed read is refused: that fan is reported
// as not read and the others are still read.
TEST_F(MonitorFaultTest, RefusedSpeedReadIsReportedAndTheOtherFansAreRead) {
  simctl({"kernel", "fail", "ioctl", "i2c-2", "EIO", SMBUS, "after", "1", "times", "1"});
  CmdResult r = runCmd("fan -ds");
  EXPECT_TRUE(contains(r.out, "failed to read device fctl(0x52), byteCnt= 0\nInput/output error (5)\n")) << r.out;
  EXPECT_TRUE(contains(r.out, "I2C read failed, numBytesToRead= 2, byteCnt= 0\n")) << r.out;
  EXPECT_EQ(r.out.find("I2C read failed"), r.out.rfind("I2C read failed"));
  EXPECT_EQ(std::ranges::count(splitLines(r.out), std::string("3040(0x0be0) rpm")), 5) << r.out;
  EXPECT_TRUE(contains(r.out, "byteCnt= 0\nfan 1 speed not read\n")) << r.out;
}

// A stuck bit in a register the source writes and reads back: reported, and
// the source gives up at once rather than try again.
TEST_F(MonitorFaultTest, ReadBackMismatchesStopTheSourceAtTheFirstAttempt) {
  simctl({"i2c", "stuck", "fctl", "0xf5", "0", "0"});
  Trace t;
  setOkay("fctl", false, FAILURE, {"FAILURE to read back 0x7fff (0x7ffe) from fault limit register\n",
                                   "bad status 2, while reading STATUS_FANS_1_2\n"});
  EXPECT_EQ(t.grep("smbus write word_data cmd 0xf5").size(), 1u);

  simctls({{"i2c", "unstuck", "fctl"}, {"i2c", "stuck", "mrtmp1", "0x03", "6", "1"}});
  t.mark();
  setOkay("mref", false, FAILURE, {"FAILURE to read back 0x00 (0x40) from configuration register\n",
                                   "FAILURE while trying to set All-okay out to not okay\n"});
  EXPECT_FALSE(t.grep("0x48 smbus write byte_data cmd 0x09").empty());
  EXPECT_TRUE(t.grep("cmd 0x0b").empty()) << "no set-point written after the failed check";

  // Bit 0: the set-point stays above the temperature (bit 7 would make it negative).
  simctls({{"i2c", "unstuck", "mrtmp1"}, {"i2c", "stuck", "mrtmp1", "0x05", "0", "1"}});
  setOkay("mref", true, FAILURE, {"from local high setpoint register\n"});
  EXPECT_TRUE(contains(runCmd("allok -scn M").out, "mref       true")) << "the line stays okay";
}

// A fan controller that stops answering: the cable test names it once, with
// its code, and still reports the other cables.
TEST_F(MonitorFaultTest, SilentFanControllerFailsTheCableTestWithItsCode) {
  simctl({"i2c", "nack", "fctl", "on"});
  CmdResult r = runCmd("runtest cableconn");
  EXPECT_TRUE(contains(r.out, "cableconn - fan controller cable: the fan controller does not answer\n")) << r.out;
  EXPECT_TRUE(contains(r.out, "power-supply controller cable not checked")) << r.out;
  EXPECT_TRUE(r.out.ends_with("FAILED\n!1711\n")) << r.out;
}
