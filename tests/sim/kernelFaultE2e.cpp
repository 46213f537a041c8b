// Kernel calls that fail under the one-shot program (diag-simctl kernel ...):
// the program names the failure, and the test checks what it did next.
#include <gtest/gtest.h>

#include <string>

#include "programs.h"
#include "testEnv.h"
#include "textUtil.h"

namespace {
struct KernelFaultE2e : testing::Test {
  void SetUp() override { simctl({"reset"}); simctl({"set", "board", "signal"}); }
};
}  // namespace

TEST_F(KernelFaultE2e, ControlRefusesWhatItCannotInjectAndListsWhatItHas) {
  RunResult r = runProgram(programArgv(simctlBin(), {"kernel", "fail", "ioctl", "fpga", "ENOPE"}));
  EXPECT_TRUE(r.exitCode == 2 && contains(r.out, "unknown errno name ENOPE\n")) << r.out;
  EXPECT_EQ(runProgram(programArgv(simctlBin(), {"kernel", "short", "ioctl", "i2c-2", "3"})).exitCode, 2);
  EXPECT_EQ(runProgram(programArgv(simctlBin(), {"kernel", "fail", "read", "i2c-x", "EIO"})).exitCode, 2);
  simctl({"kernel", "fail", "ioctl", "fpga", "EIO", "0x11abc2", "after", "3", "times", "2"});
  simctl({"kernel", "short", "read", "i2c-2", "1"});
  EXPECT_EQ(simctl({"kernel", "list"}),
            "fail ioctl fpga EIO 0x11abc2 after 3 times 2, given 0\nshort read i2c-2 1 after 0 times all, given 0\n");
  simctl({"power-cycle"});  // faults describe the hardware: a power cycle keeps them
  EXPECT_TRUE(contains(simctl({"kernel", "list"}), "fail ioctl fpga"));
  simctl({"kernel", "clear"});
  EXPECT_EQ(simctl({"kernel", "list"}), "no kernel faults\n");
}

// The device file cannot be opened: said once with the system's reason; the
// reads that follow fail on their own and nothing reaches the FPGA.
TEST_F(KernelFaultE2e, FpgaThatCannotBeOpenedIsNamedAndNothingIsRead) {
  simctl({"kernel", "fail", "open", "fpga", "EACCES"});
  Trace t;
  std::string out = simOut({"gpmc", "-m", "reg", "-r", "1"});
  EXPECT_TRUE(holdsAll(out, {"failed to open GPMC adapter /dev/z9fpga0\nPermission denied (13)\n",
                             "failed to read device 4(0x00), byteCnt= 0\nBad file descriptor (9)\n"}));
  EXPECT_TRUE(t.grep("fpga rd").empty());
}

// The gpmc command's own reports of a failed sequence, and what it left.
TEST_F(KernelFaultE2e, GpmcStagesReportTheFailedStepAndStopThere) {
  simctl({"kernel", "fail", "ioctl", "fpga", "EIO", "0x11abc2", "times", "1"});
  std::string out = simOut({"gpmc", "-fmr"});
  EXPECT_TRUE(holdsAll(out, {"failed to write A2D control register\n", "GPMCFrcMeasReset() failed\n"}));

  simctls({{"kernel", "clear"}, {"kernel", "fail", "ioctl", "fpga", "EIO", "0x11abc1", "times", "1"}});
  out = simOut({"gpmc", "-col", "16"});
  EXPECT_TRUE(contains(out, "failed to read A2D status from FPGA\n")) << out;
  EXPECT_TRUE(contains(out, "GPMCEnOSDataCollNWait4Dn() failed, returned 2\n")) << out;
  EXPECT_EQ(simctl({"fpga", "peek", "reg", "0x0e"}), "0x0000\n");  // no collection started

  // Words from a file: the second write is refused, the first stays written and the rest are not sent.
  writeFile(testPath("words.txt"), "17\n18\n19\n");
  simctls({{"kernel", "clear"}, {"kernel", "fail", "ioctl", "fpga", "EIO", "0x11abc2", "after", "1"}});
  out = simOut({"gpmc", "-m", "fgen", "-w", "3", "-fi", testPath("words.txt")});
  EXPECT_TRUE(contains(out, "write failed\n")) << out;
  EXPECT_EQ(simctl({"fpga", "peek", "fgen", "0"}), "0x0011\n");
  EXPECT_EQ(simctl({"fpga", "peek", "fgen", "4"}), "0x0000\n");
  EXPECT_TRUE(contains(simctl({"kernel", "list"}), "given 1\n"));

  // A dump file that stops taking data: the read stops at the block it could not store.
  Trace t;
  out = simOut({"gpmc", "-m", "obuf", "-r", "8192", "-s", "-f", "/dev/full"});
  EXPECT_TRUE(contains(out, "unable to write file /dev/full: No space left on device (28)\n")) << out;
  EXPECT_LT(t.grep("fpga rd obuf").size(), 8192u);
}

// I2C: an adapter that cannot be opened stops the command before the chip is
// addressed; a short read is reported with the bytes that came.
TEST_F(KernelFaultE2e, I2cCommandNamesAnUnreachableChipAndAShortRead) {
  simctls({{"set", "board", "main"}, {"kernel", "fail", "open", "i2c-2", "EACCES"}});
  Trace t;
  std::string out = simOut({"i2c", "-d", "fctl", "-o", "0x90", "-r", "2"});
  EXPECT_TRUE(holdsAll(out, {"failed to open I2C adapter /dev/i2c-2", "cannot reach I2C device fctl, status= 2\n"}));
  EXPECT_TRUE(t.grep("0x52 smbus").empty());

  simctls({{"kernel", "clear"}, {"kernel", "short", "read", "i2c-2", "3"}});
  out = simOut({"i2c", "-d", "mhEeprom", "-o", "0", "-r", "5"});
  EXPECT_TRUE(contains(out, "failed to read device mhEeprom(0x56), byteCnt= 3\n")) << out;
  EXPECT_EQ(t.grep("0x56 read 3 -> ").size(), 1u);
}
