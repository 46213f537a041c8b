// The FPGA sequences when the driver refuses a call part-way: each reports the
// step that failed, stops there, and leaves the registers as that step left them.
#include <cstdio>

#include "gpmcDevBuf.h"
#include "gpmcRegs.h"
#include "gpmcTestUtil.h"

namespace {
const char* const RD = "0x11abc1";
const char* const WR = "0x11abc2";

// Clears the faults set before; then the driver fails the given request with
// EIO: after `after` calls that still succeed, `times` times.
void failIoctl(const char* request, int after = 0, int times = 1) {
  simctl({"kernel", "clear"});
  simctl({"kernel", "fail", "ioctl", "fpga", "EIO", request, "after", std::to_string(after), "times",
          std::to_string(times)});
}

class GpmcFaultTest : public GpmcTest {
protected:
  void TearDown() override { simctl({"kernel", "clear"}); }
};

class GpmcMainFaultTest : public GpmcFaultTest {
  const char* board() const override { return "main"; }
};
}  // namespace

TEST_F(GpmcFaultTest, BitChangeStopsAtTheFailedStepOfItsReadWriteReadCycle) {
  const unsigned short before = peek("reg", "0x14");
  // The first read fails: nothing is written.
  failIoctl(RD);
  expectPrints([&] { EXPECT_EQ(ctl.GPMCEnPrimarySrc(), FAILURE); },
               {"function setResetBits - failed to read FPGA\n",
                "function GPMCEnPrimarySrc - failed to enable primary source\n"});
  EXPECT_TRUE(trace.grep("fpga wr reg").empty());
  EXPECT_EQ(peek("reg", "0x14"), before);

  // The write fails: the register keeps its value and no check read follows.
  failIoctl(WR);
  trace.mark();
  expectPrints([&] { EXPECT_EQ(ctl.GPMCEnOBufWrites(), FAILURE); },
               {"function setResetBits - failed to write FPGA\n", "failed to enable waveform source buffer writes\n"});
  EXPECT_EQ(trace.grep("fpga rd reg 0x0014").size(), 1u);
  EXPECT_EQ(peek("reg", "0x14"), before);

  // The check read fails: the bit was written, but the change is reported failed.
  failIoctl(RD, 1);
  expectPrints([&] { EXPECT_EQ(ctl.GPMCEnDAC(), FAILURE); },
               {"function setResetBits - failed to read FPGA\n", "failed to enable waveform to AD5542A DAC\n"});
  EXPECT_EQ(peek("reg", "0x14"), before | 0x0400);

  // A field change whose read fails writes nothing.
  failIoctl(RD);
  trace.mark();
  expectPrints([&] { EXPECT_EQ(reg->setField(GPMC_CLK_SEL, 0x3, 0x1), FAILURE); },
               {"function setField - failed to read FPGA\n"});
  EXPECT_TRUE(trace.grep("fpga wr").empty());
}

// A refused preset write and a failed status read before a one-shot
// collection are shown through the gpmc command in kernelFaultE2e.cpp.
TEST_F(GpmcFaultTest, MeasurementResetAndCollectionReportTheirFailedStep) {
  // The preset's read-back passes, the pulse's first read fails: reset bit never set.
  failIoctl(RD, 1);
  expectPrints([&] { EXPECT_EQ(ctl.GPMCFrcMeasReset(), FAILURE); }, {"failed to set A2D control register bit\n"});
  EXPECT_EQ(wrote("0x000e"), "0x1040");

  // The pulse's end cannot read the register: the reset bit is left set.
  failIoctl(RD, 1 + 2);  // the preset's read-back, the pulse's two reads
  expectPrints([&] { EXPECT_EQ(ctl.GPMCFrcMeasReset(), FAILURE); }, {"failed to clear A2D control register bit\n"});
  EXPECT_EQ(peek("reg", "0x0e") & A2D_FRC_MEAS_RESET, A2D_FRC_MEAS_RESET);

  // A one-shot collection whose first look at the sample address fails stops there and says why.
  failIoctl(RD, 2);  // the status, the start's read-back
  int waited = -1;
  expectPrints([&] { EXPECT_EQ(ctl.GPMCEnOSDataCollNWait4Dn(0xfffe, &waited), FAILURE); },
               {"exited loop with bad status= 2\n"});
  EXPECT_EQ(waited, 0);

  // Clearing the waveform control register whose write is refused.
  simctl({"fpga", "poke", "reg", "0x14", "0x0010"});
  failIoctl(WR);
  expectPrints([&] { EXPECT_EQ(ctl.GPMCClrWFCtlReg(), FAILURE); }, {"failed to clear Waveform Control register\n"});
  EXPECT_EQ(peek("reg", "0x14"), 0x0010);
  simctl({"kernel", "clear"});  // and taken: every bit cleared
  EXPECT_EQ(ctl.GPMCClrWFCtlReg(), SUCCESS);
  EXPECT_EQ(peek("reg", "0x14"), 0);

  // The driver refuses continuous acquisition: reported with the system's error, nothing else done.
  simctls({{"kernel", "clear"}, {"kernel", "fail", "ioctl", "fpga", "EBUSY", "0x11abc6"}});
  expectPrints([&] { ctl.drvrContColl(true); },
               {"failed to start continuous acquistion (driver style)\nDevice or resource busy (16)\n"});
  EXPECT_TRUE(contains(simctl({"kernel", "list"}), "given 1")) << simctl({"kernel", "list"});
}

TEST_F(GpmcMainFaultTest, OledResetFailuresLeaveTheResetLineWhereTheyStopped) {
  // Entering reset refused: the OLED stays out of reset.
  failIoctl(WR);
  expectPrints([&] { EXPECT_EQ(ctl.rstOLED(), FAILURE); }, {"failed to put OLED in reset\n"});
  EXPECT_EQ(peek("reg", "0x06") & MH_MISC_OLED_NRESET, MH_MISC_OLED_NRESET);
  // Leaving it refused: the OLED is left held in reset.
  failIoctl(WR, 1);
  expectPrints([&] { EXPECT_EQ(ctl.rstOLED(), FAILURE); }, {"failed to take OLED out of reset\n"});
  EXPECT_EQ(peek("reg", "0x06") & MH_MISC_OLED_NRESET, 0);
}

TEST_F(GpmcFaultTest, DriverBufferAndSampleFileStopAtTheRefusedCall) {
  simctl({"kernel", "fail", "write", "fpga", "EIO"});
  expectPrints([&] { EXPECT_EQ(GpmcDevBuf(*reg).GPMCPreventDriverOverflow(), FAILURE); },
               {"driver write failed\nInput/output error (5)\n"});
  EXPECT_TRUE(trace.grep("fpga mmap").empty());

  simctls({{"kernel", "clear"}, {"kernel", "fail", "mmap", "fpga", "ENOMEM"}});
  expectPrints([&] { EXPECT_EQ(GpmcDevBuf(*reg).GPMCPreventDriverOverflow(), FAILURE); },
               {"mmap() failed\nCannot allocate memory (12)\n"});
  EXPECT_TRUE(contains(simctl({"fpga", "status"}), "driver buffer prepared: yes"));

  // The fourth word of the first block is refused: three words reach the file.
  simctl({"fpga", "poke", "reg", "0x0e", "0x1040"});
  failIoctl(RD, 2 + 1 + 3);  // two address reads, the discarded word, three words
  std::string path = testPath("ctf-fault.txt");
  FILE* f = fopen(path.c_str(), "w+");
  ASSERT_NE(f, nullptr);
  expectPrints([&] { EXPECT_EQ(GpmcDevBuf(*dev("ibuf")).rdOBufToFile(f, 2), FAILURE); },
               {"function rdOBufToFile - failed to read device 1(0x06), byteCnt= 0\n"});
  fclose(f);
  EXPECT_EQ(splitLines(readFile(path)).size(), 3u);

  // An address that never settles: the bounded wait gives up before any word is read.
  simctls({{"kernel", "clear"}, {"fpga", "fault", "a2d-addr-unsettled"}});
  trace.mark();
  f = fopen(path.c_str(), "w+");
  ASSERT_NE(f, nullptr);
  expectPrints([&] { EXPECT_EQ(GpmcDevBuf(*dev("ibuf")).rdOBufToFile(f, 1), TIMEOUT); },
               {"timed out waiting for stable sample address\n"});
  fclose(f);
  EXPECT_EQ(trace.grep("fpga rd reg 0x0010").size(), 20u);
  EXPECT_TRUE(trace.grep("fpga rd ibuf").empty());
  EXPECT_EQ(readFile(path), "");
}

// Every ramp write that is read back shows a bit that does not take: the manual
// set value (a sequence stops there; a manual step reads it back but goes on, as
// it always does), and the direction bit of the control register.
TEST_F(GpmcFaultTest, RampWritesThatAreReadBackShowAStuckBit) {
  simctl({"fpga", "fault", "stuck", "0x26", "0", "0"});
  expectPrints([&] { EXPECT_EQ(ramp.GPMCSetOutput(0x7001), FAILURE); },
               {"failed to write amplitude manual set value reg."});
  EXPECT_EQ(captured([&] { EXPECT_EQ(ramp.GPMCSetOutput(0x7000), SUCCESS); }), "");
  trace.mark();
  EXPECT_EQ(captured([&] { EXPECT_EQ(ramp.GPMCStepUp(1), SUCCESS); }), "");
  EXPECT_EQ(trace.grep("fpga rd reg 0x0026").size(), 1u);
  simctls({{"fpga", "clear"}, {"fpga", "fault", "stuck", "0x30", "2", "0"}});
  expectPrints([&] { EXPECT_EQ(ramp.GPMCSetOutput(5), FAILURE); }, {"failed to write ramp control reg."});
  // A ramp that cannot be switched off: the read-back of that first write stops the set there.
  simctls({{"fpga", "clear"}, {"fpga", "fault", "stuck", "0x30", "3", "1"}});
  trace.mark();
  expectPrints([&] { EXPECT_EQ(ramp.GPMCSetOutput(5), FAILURE); }, {"failed to write ramp control reg."});
  EXPECT_EQ(trace.grep("fpga wr reg 0x0030").size(), 1u);
  expectPrints([&] { EXPECT_EQ(ramp.GPMCRampUpCyc(0x200, 0x100, 1), FAILURE); }, {"failed to disable ramping"});
}
