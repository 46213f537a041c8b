#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "allOkayMap.h"
#include "cmdRun.h"
#include "i2cDevMap.h"
#include "kernel.h"
#include "programs.h"
#include "testEnv.h"
#include "textUtil.h"

namespace {
// Index of the first trace line that contains text, or -1.
int firstLine(const std::vector<std::string>& lines, const std::string& text) {
  auto at = std::ranges::find_if(lines, [&](const std::string& l) { return contains(l, text); });
  return at == lines.end() ? -1 : static_cast<int>(at - lines.begin());
}

std::string scanM() { return runCmd("allok -scn M").out; }

using AllokTest = FreshBoard;
}  // namespace

TEST_F(AllokTest, ScanShowsTheHostsSourcesInNameOrder) {
  CmdResult r = runCmd("allok -scn M");
  EXPECT_EQ(r.status, SUCCESS);
  EXPECT_EQ(r.out.rfind("ALL OKAY   OUT      IN\n", 0), 0u);
  size_t at = 0;  // the rows in name order; the PFC link is not in this build
  for (const char* row : {"fctl       true     NA\n", "fp         true     true\n", "mnhost     true     true\n",
                          "mref       ", "pfc        false    false\n"}) {
    at = r.out.find(std::string("\n") + row, at);
    ASSERT_NE(at, std::string::npos) << row << r.out;
  }
  EXPECT_EQ(r.out.find("psc"), std::string::npos);

  EXPECT_EQ((r = runCmd("allok -scn x")).status, BAD_PARAMETER);
  EXPECT_NE(r.out.find("unknown host x"), std::string::npos);
}

TEST_F(AllokTest, FanControllerFaultIsForcedAndReleased) {
  Trace t;
  EXPECT_EQ(runCmd("allok -fno fctl").status, SUCCESS);
  EXPECT_FALSE(t.grep("smbus write word_data cmd 0xf5 data 7fff").empty());
  EXPECT_NE(scanM().find("fctl       false    NA"), std::string::npos);
  EXPECT_NE(scanM().find("mnhost     true     false"), std::string::npos);  // the line is pulled

  t.mark();
  CmdResult r = runCmd("allok -set M fctl");
  EXPECT_EQ(r.status, SUCCESS) << r.out;
  std::vector<std::string> lines = t.lines();
  int limit = firstLine(lines, "smbus write word_data cmd 0xf5 data 0168");
  EXPECT_GE(limit, 0);
  EXPECT_GT(firstLine(lines, "smbus write byte cmd 0x03"), limit);
  EXPECT_EQ(firstLine(lines, "i2c-2 0x40"), -1);  // only the named source
  EXPECT_NE(scanM().find("mnhost     true     true"), std::string::npos);
}

TEST_F(AllokTest, SetActsOnTheHostsSourcesInNameOrder) {
  Trace t;
  CmdResult r = runCmd("allok -set M");
  EXPECT_EQ(r.status, SUCCESS) << r.out;
  std::vector<std::string> lines = t.lines();
  int prev = -1;
  for (const char* text : {"i2c-2 0x52 smbus", "i2c-2 0x40 smbus", "fpga wr reg 0x0006", "i2c-2 0x48 smbus"}) {
    int at = firstLine(lines, text);
    EXPECT_GT(at, prev) << text;
    prev = at;
  }
  EXPECT_NE(r.out.find("setOkayOut - done\nsetOkayOut - done\n"), std::string::npos);  // fp, then mnhost
  EXPECT_EQ(r.out.find("retries required"), std::string::npos) << r.out;  // each took at its first attempt
  // A source that fails makes the command fail, and the sources after it are still set.
  simctl({"i2c", "absent", "fpfpga", "on"});
  t.mark();
  EXPECT_EQ((r = runCmd("allok -set M")).status, FAILURE) << r.out;
  EXPECT_GE(firstLine(t.lines(), "i2c-2 0x48 smbus"), 0);
}

TEST_F(AllokTest, MainReferenceAndFrontPanelFollowTheirOutputs) {
  EXPECT_EQ(runCmd("allok -fno mref").status, SUCCESS);
  EXPECT_NE(scanM().find("mref       false    NA"), std::string::npos);
  EXPECT_EQ(simctl({"i2c", "peek", "mrtmp1", "0x05"}), "0x0\n");  // its local high set-point: 0 and 70 degrees
  EXPECT_EQ(runCmd("allok -set M mref").status, SUCCESS);
  EXPECT_NE(scanM().find("mref       true     NA"), std::string::npos);
  EXPECT_EQ(simctl({"i2c", "peek", "mrtmp1", "0x05"}), "0x46\n");

  EXPECT_EQ(runCmd("allok -fno fp").status, SUCCESS);
  EXPECT_EQ(simctl({"i2c", "peek", "fpfpga", "0x10"}) + simctl({"i2c", "peek", "fpfpga", "0x11"}), "0x0\n0x0\n");
  EXPECT_EQ(runCmd("allok -set M fp").status, SUCCESS);  // what -scn shows between is in docs/i2c.md
  simctl({"i2c", "poke", "fpfpga", "0x11", "0"});  // okay only when both its outputs are
  EXPECT_NE(scanM().find("fp         false"), std::string::npos);

  // The front panel's old way goes through its own command, which this build does not connect.
  EXPECT_TRUE(contains(runCmd("allok -set M fp -fpow").out, "fpfpga - command not connected to a function"));
  simctl({"i2c", "absent", "mrtmp1", "on"});
  EXPECT_NE(runCmd("allok -fno mref").status, SUCCESS);
  CmdResult r = runCmd("allok -fno nosuch");
  EXPECT_EQ(r.status, ENTRY_NOT_FOUND);
  EXPECT_NE(r.out.find("nosuch not found"), std::string::npos);
}

TEST_F(AllokTest, ListsHelpAndDisplay) {
  EXPECT_EQ(runCmd("allok -l -d").out, "fctl\nfp\nmnhost\nmref\nmshost\npfc\npsc\nsrchost\n");
  CmdResult r = runCmd("allok -d");
  EXPECT_EQ(r.status, SUCCESS);  // a source out of reach is shown so, and is no failure of the display
  EXPECT_EQ(r.out.rfind("SOURCE\tACCESSIBLE\tALLOKOUT\tALLOKIN\n", 0), 0u);
  EXPECT_NE(r.out.find("\nfctl\tyes\t\ttrue\t\tNA\n"), std::string::npos);
  EXPECT_TRUE(holdsAll(r.out, {"\npfc\tno\t\tfalse\t\t?\n", "PFC link is not part of this build: power-on test not run\n"}));
  EXPECT_NE(r.out.find("\npsc\tno\t\t?\t\t?\n"), std::string::npos);
  // Forcing the PSC source's fault tries its link, which says it is not in this build.
  EXPECT_NE(runCmd("allok -fno psc").out.find("function PSCFPGASetFrcNotOK - PSC FPGA of source 14"), std::string::npos);
}

// On a signal host both names of the signal host drive its one okay bit.
TEST(AllokSignalHost, BothNamesSetTheSignalHostBit) {
  simctls({{"reset"}, {"set", "board", "signal"}});
  Trace t;
  runSim({"allok", "-snk", "mshost"});
  EXPECT_FALSE(t.grep("fpga wr reg 0x0016 0x4000").empty());
  t.mark();
  runSim({"allok", "-sok", "srchost"});
  // Bit 1 set; bit 14 reads the line, which was not okay while the bit was clear.
  EXPECT_FALSE(t.grep("fpga wr reg 0x0016 0x0002").empty());
  runSim({"allok", "-snk", "srchost"});
  t.mark();
  runSim({"allok", "-sok", "mshost"});
  EXPECT_FALSE(t.grep("fpga wr reg 0x0016 0x0002").empty());
  t.mark();  // a name that is no host's sets nothing, and is no failure
  EXPECT_TRUE(runSim({"--exit-status", "allok", "-snk", "fctl"}).exitCode == 0 && t.grep("fpga wr").empty());
  RunResult r = runSim({"allok", "-scn", "s"});
  EXPECT_NE(r.out.find("srchost    true     true"), std::string::npos) << r.out;
}

// Any fan's fault asserts the controller's one fault output: a stopped fan 3
// shows as the fan controller's okay output false, beside the pulled line,
// and keeps its fault, so that releasing the output runs out of attempts.
TEST(AllokStuckFault, AnyFansFaultIsTheControllersAndReleaseTimesOut) {
  simctls({{"reset"}, {"i2c", "fan-fail", "3", "on"}});
  std::string scan = scanM();
  EXPECT_NE(scan.find("fctl       false    NA"), std::string::npos) << scan;
  EXPECT_NE(scan.find("mnhost     true     false"), std::string::npos) << scan;
  AllOkayMap m(testBoard().devices);
  Trace t;
  const unsigned long long paused = kernel().counts().pausedUs;
  std::string out = captured([&] { EXPECT_EQ(m.find("fctl")->setOkayOut(true, false), TIMEOUT); });
  EXPECT_NE(out.find("function setOkayOut - timed out waiting for All-okay okay"), std::string::npos) << out;
  EXPECT_EQ(t.grep("smbus write word_data cmd 0xf5").size(), 40u);  // forty attempts, no more
  // Each attempt settles 0.3 s after the limit, its read and the clear, waits 0.5 s for the next, and pauses
  // 2 ms after each of its eighteen transfers.
  EXPECT_EQ(kernel().counts().pausedUs - paused, 40u * (1100000 + 18 * 2000));
}
