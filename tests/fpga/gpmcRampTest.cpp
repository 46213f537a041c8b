// The ramp engine's sequences and waits against the simulated ramp engine.
#include <unistd.h>

#include "gpmcTestUtil.h"
#include "kernel.h"

TEST_F(GpmcTest, ManualStepsClampAtTheTopAndAtZero) {
  // A step's status must be SUCCESS; then the register at addr as it left it.
  auto then = [&](E_STATUS st, const char* addr = "0x24") {
    EXPECT_EQ(st, SUCCESS);
    return peek("reg", addr);
  };
  EXPECT_EQ(then(ramp.GPMCSetOutput(0x7ff0)), 0x7ff0);
  EXPECT_EQ(wrote("0x0030"), "0x2000 0x2007 0x200f");  // stopped, manual and up, started: no other bit
  EXPECT_EQ(then(ramp.GPMCStepUp(0xf)), 0x7fff);  // the top itself is no clamp
  EXPECT_EQ(then(ramp.GPMCStepUp(0x20)), 0x8000);
  EXPECT_EQ(wrote("0x0026"), "0x7ff0 0x7fff 0x8000");
  EXPECT_EQ(then(ramp.GPMCSetOutput(0x7000)), 0x7000);
  EXPECT_EQ(then(ramp.GPMCStepUp(0x100)), 0x7100);
  trace.mark();
  EXPECT_EQ(then(ramp.GPMCStepDown(0x40)), 0x70c0);
  // Each control write is read back, though only the last is judged: the first of four reads is the control's own.
  EXPECT_EQ(trace.grep("fpga rd reg 0x0030").size(), 4u);
  EXPECT_EQ(then(ramp.GPMCStepDown(0x8000)), 0);
  // Zero is set with the direction bit clear, any other value with it set.
  EXPECT_EQ(then(ramp.GPMCSetOutput(0), "0x30") & 0x000f, 0x000b);
  EXPECT_EQ(then(ramp.GPMCSetOutput(5), "0x30") & 0x000f, 0x000f);
}

TEST_F(GpmcTest, TimerRampUpAndDownWithTheirWaits) {
  // Four steps of 250 ms: long enough for the start to be seen on a busy machine.
  ASSERT_EQ(ramp.GPMCRampUpTmr(0x400, 0x100, 25000), SUCCESS);
  ASSERT_EQ(ramp.waitForRampStart(false, true), SUCCESS);
  const unsigned long long paused = kernel().counts().pausedUs;
  std::string out = captured([&] { EXPECT_EQ(ramp.waitForAtTgtLim(true, true), SUCCESS); });
  EXPECT_EQ(peek("reg", "0x24"), 0x400);
  // The time it says it waited is the pauses it asked for between its polls.
  EXPECT_TRUE(contains(out, " waited " + std::to_string(kernel().counts().pausedUs - paused) + " microsecs\n")) << out;
  // Which value the first progress line shows depends on how busy the machine is.
  EXPECT_TRUE(holdsAll(out, {"function waitForAtTgtLim - current value= 0x", "function waitForAtTgtLim - waited "}));
  ASSERT_EQ(ramp.waitForRampEnd(false, false), SUCCESS);
  bool ended = false;
  ASSERT_EQ(ramp.checkForRampEnd(&ended), SUCCESS);
  EXPECT_TRUE(ended);

  trace.mark();
  ASSERT_EQ(ramp.GPMCRampDownTmr(0x100, 100), SUCCESS);
  EXPECT_EQ(wrote("0x0028") + " " + wrote("0x001e"), "0x0064 0x0000");
  ASSERT_EQ(ramp.waitForAtZero(false, true), SUCCESS);
  EXPECT_NE(peek("reg", "0x30") & 0x2000, 0);  // it waited for the at-zero status, not its absence
  ASSERT_EQ(ramp.waitForCurrValZero(false, true), SUCCESS);
  EXPECT_EQ(peek("reg", "0x24"), 0);
}

TEST_F(GpmcTest, CycleRampFollowsTheRunningWaveformInItsRegisterOrder) {
  ASSERT_EQ(ctl.GPMCStartWaveForm(), SUCCESS);
  simctl({"fpga", "poke", "reg", "0x30", "0x1"});  // a timer ramp's mode left: only the mode step clears it
  trace.mark();
  ASSERT_EQ(ramp.GPMCRampUpCyc(0x200, 0x100, 1), SUCCESS);
  std::string order;
  for (const std::string& w : trace.grep("fpga wr reg")) order += w.substr(12, 6) + " ";
  EXPECT_EQ(order, "0x0030 0x0030 0x0020 0x0030 0x001e 0x0022 0x0030 ");
  EXPECT_EQ(wrote("0x0020") + " " + wrote("0x001e") + " " + wrote("0x0022"), "0x0100 0x0200 0x0000");
  EXPECT_EQ(wrote("0x0030"), "0x2001 0x2005 0x2004 0x200c");  // at last: up, cycle mode, enabled
  ASSERT_EQ(ramp.waitForAtTgtLim(false, true), SUCCESS);
  EXPECT_EQ(peek("reg", "0x24"), 0x200);
  trace.mark();
  ASSERT_EQ(ramp.GPMCRampDownCyc(0x200, 2), SUCCESS);
  EXPECT_EQ(trace.grep("fpga rd reg 0x0030").size(), 1u);  // going down no control write is read back
  EXPECT_EQ(wrote("0x0030"), "0x4004 0x4000 0x4000 0x4008");  // at its limit: disabled, down, cycle mode, enabled
  ASSERT_EQ(ramp.waitForAtZero(false, true), SUCCESS);
  ASSERT_EQ(ramp.disableRamping(), SUCCESS);
  EXPECT_EQ(peek("reg", "0x30") & 0x0008, 0);
}

TEST_F(GpmcTest, RampSequenceStopsAtTheFirstFailingStep) {
  simctl({"fpga", "fault", "stuck", "0x30", "2", "0"});
  expectPrints([&] { EXPECT_EQ(ramp.GPMCRampUpCyc(0x200, 0x100, 1), FAILURE); },
               {"function GPMCRampUpCyc - failed to set ramp direction to up\n"});
  EXPECT_TRUE(trace.grep("fpga wr reg 0x0020").empty());
}

TEST_F(GpmcTest, NotOkaySignalHostAbortsAWaitThatQuitsOnIt) {
  simctl({"fpga", "fault", "sh-not-ok"});
  ASSERT_EQ(ramp.GPMCRampUpTmr(0x400, 0x100, 100), SUCCESS);
  expectPrints([&] { EXPECT_EQ(ramp.waitForRampEnd(false, true), FAILURE); },
               {"function waitForRampEnd - quitting with status 2 due to signal host All-okay out not okay\n"});
  EXPECT_EQ(trace.grep("fpga rd reg 0x0016").size(), 1u);  // aborted at the first poll
  // Without quitOnNotOK the same wait goes on to the ramp's end.
  EXPECT_EQ(ramp.waitForRampEnd(false, false), SUCCESS);
}

TEST_F(GpmcTest, RampThatNeverEndsKeepsRunningAtItsLimit) {
  simctl({"fpga", "fault", "ramp-never-ends"});
  ASSERT_EQ(ramp.GPMCRampUpTmr(0x200, 0x100, 10), SUCCESS);  // two steps of 100 us
  usleep(20000);
  bool ended = true;
  ASSERT_EQ(ramp.checkForRampEnd(&ended), SUCCESS);
  EXPECT_FALSE(ended);
  EXPECT_EQ(peek("reg", "0x24"), 0x200);
  EXPECT_TRUE(contains(simctl({"fpga", "ramp"}), "status: running\n"));
}

// The one timeout that fits a test: a ramp that never starts gives up after
// 10000 polls of 500 us, printing the value every 1000th poll.
TEST_F(GpmcTest, RampThatNeverStartsTimesOutWithItsMessage) {
  simctl({"fpga", "fault", "ramp-never-starts"});
  ASSERT_EQ(ramp.GPMCRampUpTmr(0x400, 0x100, 100), SUCCESS);
  trace.mark();
  std::string out = captured([&] { EXPECT_EQ(ramp.waitForRampStart(true, false), TIMEOUT); });
  EXPECT_TRUE(holdsAll(out, {"function waitForRampStart - timed out waiting for ramp start\n",
                             "function waitForRampStart - waited 5000000 microsecs\n", "current value= 0x0000"}));
  EXPECT_EQ(countOf(out, "current value="), 10u);
  EXPECT_EQ(trace.grep("fpga rd reg 0x0030").size(), 10000u);
  EXPECT_EQ(trace.grep("fpga rd reg 0x0024").size(), 10u);
}
