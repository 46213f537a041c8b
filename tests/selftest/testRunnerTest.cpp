#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "cmdRun.h"
#include "programs.h"
#include "ptySession.h"
#include "testEnv.h"
#include "testMap.h"
#include "textUtil.h"

namespace {
std::string scratch() { return simctl({"fpga", "peek", "reg", "0x04"}); }

// Runs "runtest line" and expects each of texts in what it printed; returns that.
std::string expectRun(const std::string& line, std::initializer_list<const char*> texts) {
  std::string out = runCmd("runtest " + line).out;
  for (const char* text : texts) EXPECT_TRUE(contains(out, text)) << line << ": " << text << "\n" << out;
  return out;
}

// In each revision family the scan that scan() runs passes, having checked `checked` devices without a quick
// command, and fails as soon as any one chip the simulator has fitted on the board is missing.
void expectScanNeedsEveryChip(const std::function<std::string()>& scan, const char* checked) {
  for (const char* rev : {"3", "2"}) {
    simctl({"set", "rev", rev});
    Trace t;
    std::string out = scan();
    EXPECT_TRUE(contains(out, std::string("i2cscn - ") + checked + " devices checked\nPASSED\n")) << rev << "\n" << out;
    EXPECT_TRUE(t.grep("quick").empty()) << rev;
    for (const std::string& l : splitLines(simctl({"i2c", "list"}))) {
      const std::string chip = l.substr(0, l.find(' '));
      simctl({"i2c", "absent", chip, "on"});
      out = scan();
      EXPECT_TRUE(contains(out, "FAILED\n!1729\n")) << "rev " << rev << ", without " << chip << ":\n" << out;
      simctl({"i2c", "absent", chip, "off"});
    }
  }
}

using SelfTest = FreshSim;
}  // namespace

TEST_F(SelfTest, RegistryListsAndRunsByName) {
  EXPECT_EQ(testBoard().tests().map.size(), 25u);
  CmdResult listed = runCmd("listtests");
  EXPECT_EQ(listed.status, SUCCESS);
  std::string& out = listed.out;
  EXPECT_EQ(out.rfind("cableconn - Test cable connections.\n", 0), 0u);
  const std::string last = "\ntmp3reg - Test a register in the TEMP3 sensor.\n";
  EXPECT_EQ(out.substr(out.size() - last.size()), last);
  EXPECT_EQ(countOf(out, "\n"), 25u);

  const std::string usage = "usage:  runtest <-h|testname> [-h]\n         type listtests for a list of test names\n";
  EXPECT_EQ(runCmd("runtest").out, usage);
  EXPECT_EQ(runCmd("runtest -h").out, usage);
  // An unknown name is an unknown command: see Dispatch.EveryOutcomeIsReportedAndOnlyABadArrayFails.
  // A register walk this build cannot run still has its usage, and gives no verdict.
  EXPECT_EQ(runCmd("runtest tmp0reg -l 2 -h").out, "-l <loops (0=>infinite)>\n");
  EXPECT_EQ(runCmd("runtest pscfa -h").out,
            "-l <loops (0=>infinite)> - write 996200 to hvuc3, register 0, that many times\n");
  EXPECT_TRUE(contains(runCmd("runtest mbt -l 2").out, "mbt: unknown option -l"));  // one that is no walk has none
  out = expectRun("tmp0reg", {"not available in this build"});
  EXPECT_FALSE(contains(out, "PASSED") || contains(out, "FAILED")) << out;
}

TEST_F(SelfTest, FpgaScratchRegisterPassesAndIsRestored) {
  simctl({"fpga", "poke", "reg", "0x04", "0xbeef"});
  Trace t;
  expectRun("gpmcreg -l 2", {"iterations (wrrd) - 64\nPASSED\n"});
  EXPECT_EQ(scratch(), "0xbeef\n");
  EXPECT_EQ(t.grep("fpga wr reg 0x0004").size(), 2u * 32u + 1u);  // the walk, then the restore
  EXPECT_EQ(t.grep("fpga wr reg 0x0004 0xbeef").size(), 1u);
}

TEST_F(SelfTest, FpgaStuckBitFailsAtItsStep) {
  simctl({"fpga", "fault", "stuck", "0x04", "3", "0"});
  Trace t;
  expectRun("gpmcreg", {"walk:  offset 0x00000004 (loop 0):  exp= 0x00000008, act= 0x00000000\r\n", "FAILED\n"});
  EXPECT_EQ(t.grep("fpga wr reg 0x0004").size(), 4u + 1u);

  // -coe keeps the loops going but no step runs after the first mismatch.
  t.mark();
  EXPECT_EQ(countOf(expectRun("gpmcreg -coe -l 3", {"iterations (wrrd) - 96\nFAILED\n"}), "walk:"), 1u);
  EXPECT_EQ(t.grep("fpga wr reg 0x0004").size(), 4u + 1u);
}

TEST_F(SelfTest, I2cRegisterTestsReachTheirChips) {
  // Each walk puts back the value it found, not a default: an operator's limit survives a production check.
  for (auto [test, chip, reg, value] : {std::tuple{"fcreg", "fctl", "0xf5", "0x1234"}, {"mrtmp1reg", "mrtmp1", "0x05", "0x5a"},
                                        {"fpgpo", "fpfpga", "0x39", "0xa5"}}) {
    simctl({"i2c", "poke", chip, reg, value});
    expectRun(test, {"PASSED\n"});
    EXPECT_EQ(simctl({"i2c", "peek", chip, reg}), std::string(value) + "\n") << test;
  }
  Trace t;
  expectRun("fcreg", {"testing location 0x000000f5", "PASSED\n"});
  EXPECT_TRUE(t.grep("0x52 smbus write byte_data cmd 0x00 data 01").empty());  // page 0's limit, not page 1's
  simctls({{"i2c", "stuck", "mrtmp2", "0x05", "6", "1"}, {"i2c", "stuck", "fctl", "0xf5", "15", "0"}});
  expectRun("mrtmp2reg", {"exp= 0x00000001, act= 0x00000041", "FAILED\n"});
  expectRun("fcreg", {"exp= 0x00008000, act= 0x00000000", "FAILED\n"});  // the walk reaches the word's top bit
  expectRun("mrtmp1reg", {"PASSED\n"});
  expectRun("fpfa -l 5", {"5 accesses of fpfpga, 0 failed\nPASSED\n"});
  t.mark();
  runCmd("i2c -d fpfpga -o 0x39 -r 1");  // the test's plain writes over, the chip is read in its own mode again
  EXPECT_EQ(t.grep("0x40 smbus read byte_data cmd 0x39").size(), 1u);
  // Until a key (loops 0): an input that has ended can bring none, so the test stops at once.
  EXPECT_TRUE(contains(runSim({"runtest", "fpfa", "-l", "0"}, "", 10000).out, " 0 accesses of fpfpga, 0 failed\n"));
  simctl({"i2c", "stuck", "fpfpga", "0x3a", "0", "1"});  // the write is acknowledged; only its last byte read back can tell
  EXPECT_TRUE(expectRun("fpfa -l 2", {}).ends_with("2 accesses of fpfpga, 2 failed\nFAILED\n"));  // no code line
  simctl({"i2c", "absent", "mrtmp1", "on"});  // each failed transfer told once: the walk's write and the put-back
  const std::string gone = simOut({"runtest", "mrtmp1reg"});  // probed for in a process of its own: not found
  EXPECT_TRUE(countOf(gone, "failed to write device mrtmp1(0x48)") == 2 && gone.ends_with("FAILED\n")) << gone;
  expectRun("shswfa", {"shostsw is not a device of this board"});
  simctl({"set", "board", "signal"});
  for (auto [test, says] : {std::pair{"shswfa", "1 accesses of shostsw, 0 failed\nPASSED\n"}, {"pscfa", "of hvuc3, 0 failed\nPASSED\n"}})
    EXPECT_TRUE(contains(simOut({"runtest", test}), says)) << test;  // the signal host's chips, each read back
}

// The scan probes the chips of the board's own revision family without a
// quick command (the instrument's controller has none), passes on a healthy
// board and fails as soon as any one chip of it is missing.
TEST_F(SelfTest, ScanPassesOnAHealthyBoardAndFailsForEachMissingChip) {
  expectScanNeedsEveryChip([] { return runCmd("runtest i2cscn").out; }, "14");
  simctls({{"reset"}, {"i2c", "absent", "mr-eeprom", "on"}});
  expectRun("i2cscn", {"mrEeprom (0x50) does not answer: Main Host 1 2   0989 Main Reference EEPROM 24LC32A",
                       "FAILED\n!1729\n"});
  // An adapter that offers the quick command probes the chips that are not memories with it.
  simctls({{"reset"}, {"set", "adapter", "full"}});
  Trace quick;
  RunResult r = runSim({"runtest", "i2cscn"});
  EXPECT_TRUE(contains(r.out, "i2cscn - 14 devices checked\nPASSED\n")) << r.out;
  EXPECT_FALSE(quick.grep("quick").empty());
  for (const std::string& l : quick.grep("quick")) EXPECT_EQ(l.find(" 0x5"), std::string::npos) << l;  // memories read
  simctl({"reset"});
}

// The signal host's scan, by a program of its own (this process's registry is the main host's).
TEST_F(SelfTest, SignalHostScanPassesAndFailsForEachMissingChip) {
  simctl({"set", "board", "signal"});
  const std::string w = runSim({"runtest", "mrtmp1reg"}).out;  // a chip this board does not carry: said where
  for (const char* fn : {"rd", "wr", "wrrd"})
    EXPECT_TRUE(contains(w, std::string(", function ") + fn + " - I2C device mrtmp1 not found\n")) << w;
  EXPECT_EQ(countOf(w, "file deviceRegWalks, line "), 3u) << w;
  expectScanNeedsEveryChip([] { return runSim({"runtest", "i2cscn"}).out; }, "7");
}

// A switch that keeps its old channel is found by reading back what was written.
TEST_F(SelfTest, ScanFailsOnASwitchThatDoesNotHoldItsChannel) {
  simctl({"i2c", "ignore-ctl", "hostsw", "on"});
  expectRun("i2cscn", {"I2C switch hostsw(0x71) holds 0x0", "FAILED\n!1729\n"});
}

// Every cable that can be checked answers, but not every cable can be: no verdict.
TEST_F(SelfTest, CablesNameWhatDoesNotAnswerAndGiveNoVerdictUnchecked) {
  std::string out = expectRun("cableconn", {"power-supply controller cable not checked",
                                            "cableconn - no verdict: not every cable could be checked\n"});
  EXPECT_FALSE(contains(out, "PASSED") || contains(out, "FAILED")) << out;
  // runtest passes its test's status on: no verdict is not SUCCESS.
  EXPECT_EQ(runCmd("runtest cableconn").status, FXN_NOT_SUPPORTED);
  // Each cable's memory missing in turn: the code that names that cable.
  for (auto [chip, says, code] : {std::tuple{"fprly-eeprom", "relay cable: fprlyEeprom does not answer", "FAILED\n!1721\n"},
                                  {"smc-eeprom", "SRC/MSMT", "FAILED\n!1722\n"}, {"bp-eeprom", "back plane", "FAILED\n!1713\n"},
                                  {"fc-eeprom", "fan controller cable", "FAILED\n!1711\n"}}) {
    simctl({"i2c", "absent", chip, "on"});
    expectRun("cableconn", {says, code});
    simctl({"i2c", "absent", chip, "off"});
  }
  simctls({{"i2c", "absent", "fc-eeprom", "on"}, {"i2c", "absent", "fctl", "on"}});  // one cable, named once
  EXPECT_TRUE(expectRun("cableconn", {"fan controller does not answer"}).ends_with("FAILED\n!1711\n"));
  simctl({"set", "board", "signal"});  // a cable's memory that is no device of this board, named from the check
  EXPECT_TRUE(contains(runSim({"runtest", "cableconn"}).out, "function probe - I2C device fprlyEeprom not found\n"));
}

// An endless register test stops at the operator's key and prints its total.
TEST(SelfTestPty, EndlessLoopStopsAtAKey) {
  simctl({"reset"});
  PtySession sh(programArgv(diagSimBin(), {}));
  ASSERT_TRUE(sh.waitFor("diag> "));
  sh.type("runtest gpmcreg -l 0");
  sh.mark();
  sh.send(PtySession::ENTER);
  ASSERT_TRUE(sh.waitFor("<CR> to quit"));
  ASSERT_TRUE(sh.waitFor("iterations (wrrd) - 320"));  // it has looped at least ten times
  sh.send(PtySession::ENTER);
  ASSERT_TRUE(sh.waitFor("PASSED"));
  std::string out = sh.since();
  size_t total = out.find("\n", out.rfind("\riterations (wrrd) - "));
  EXPECT_NE(total, std::string::npos);
  EXPECT_TRUE(sh.waitFor("diag> "));
}
