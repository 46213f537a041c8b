// The FPGA word port, its controls, status bits and buffers against the
// simulated FPGA. The offsets each word goes to, and the okay bits the allok
// command sets and reads, are checked through those commands.
#include <cstdio>

#include "gpmcDevBuf.h"
#include "gpmcTestUtil.h"
#include "gpmcWordDump.h"
#include "kernel.h"
#include "log.h"

namespace {
class GpmcMainHostTest : public GpmcTest {
  const char* board() const override { return "main"; }
};
}  // namespace

// One driver request a word, and the semaphore taken once a block of at most
// 256 words: another process waits no longer than one block for its turn.
TEST_F(GpmcTest, EachWordIsOneRequestAndABlockTakesTheSemaphoreOnce) {
  unsigned short buf[600] = {}, words[3] = {0x1111, 0x2222, 0x3333};
  unsigned long n = 0;
  ASSERT_EQ(reg->read({buf, 1}, 0, &n), SUCCESS);  // the device is opened at the first word, and kept
  kernel().resetCounts();
  const unsigned long takes = testBoard().gpmcSem.takes();
  ASSERT_EQ(reg->read({buf, 4}, 0x10, &n), SUCCESS);
  EXPECT_EQ(n, 4u);
  ASSERT_EQ(reg->write(words, 0x10, 3, &n), SUCCESS);
  ASSERT_EQ(reg->read({buf, 64}, 0, &n), SUCCESS);
  EXPECT_EQ(testBoard().gpmcSem.takes() - takes, 3u);
  ASSERT_EQ(reg->read(buf, 0, &n), SUCCESS);
  EXPECT_EQ(testBoard().gpmcSem.takes() - takes, 3u + 3u);  // 256 + 256 + 88 words
  Kernel::Counts c = kernel().counts();
  EXPECT_EQ(c.ioctl, 4u + 3u + 64u + 600u);
  EXPECT_EQ(c.total(), c.ioctl);
  EXPECT_FALSE(testBoard().gpmcSem.held());
}

// The port prints nothing of a read; the dump is its reader's, a line at a
// time, and what it has of a line is out before a failure report.
TEST_F(GpmcTest, ReadHandsTheWordsToItsReaderBeforeAFailureIsReported) {
  simctl({"fpga", "poke", "reg", "0x04", "0x4241"});  // "AB"
  unsigned short buf[260];
  unsigned long n;
  EXPECT_EQ(captured([&] { reg->read(buf, 0, &n); }), "");
  auto dumped = [&](GpmcDev* port, unsigned long offset, size_t count) {
    GpmcWordDump dump;
    return captured([&] {
      port->read({buf, count}, offset, &n, [&](unsigned long off, std::span<const unsigned short> w) { dump.add(off, w); });
      dump.finish();
    });
  };
  EXPECT_EQ(dumped(reg, 0, 10), "0000: 53480104424100000000000000000000 HS..AB..........\n0010: 00000000\n");
  EXPECT_TRUE(dumped(reg, 0, 260).ends_with("\n01f0: 00000000000000000000000000000000 ................\n0200: 0000000000000000\n"));
  // The register space's failed read mid-line is shown by the gpmc command's test.
  std::string out = dumped(dev("obuf"), 0x3ffc, 4);
  EXPECT_EQ(n, 2u);
  EXPECT_TRUE(out.starts_with("3ffc: 00000000file gpmcDev, line ")) << out;
  EXPECT_TRUE(out.ends_with("function oBufRd - failed to read device 2(0x4000), byteCnt= 2\nInvalid argument (22)\n\n"))
      << out;
}

TEST_F(GpmcTest, DriverFailuresAreReportedWithTheSystemError) {
  unsigned short three[3] = {0xa, 0xb, 0xc};
  unsigned long n = 99;
  // A failed write shows the first four words of the writer's buffer, whatever
  // the count, and 0 only past the buffer's end.
  std::string out = captured([&] { EXPECT_EQ(reg->write(three, 0xfff, 2, &n), FAILURE); });
  EXPECT_EQ(n, 1u);
  EXPECT_TRUE(contains(out, "failed to write device 4(0x1000), buf[0]= 0x000a, buf[1]= 0x000b, buf[2]= 0x000c, "
                            "buf[3]= 0x0000\n"));
  expectPrints([&] { EXPECT_EQ(reg->regWrWithRdBack(0x4321, 0x1000, true), FAILURE); },
               {"buf[0]= 0x4321, buf[1]= 0x0000, buf[2]= 0x0000, buf[3]= 0x0000\n"});
  // A count beyond the buffer writes the buffer and no more.
  trace.mark();
  EXPECT_EQ(reg->write(three, 0x20, 5, &n), SUCCESS);
  EXPECT_EQ(n, 3u);
  EXPECT_EQ(trace.grep("fpga wr reg").size(), 3u);
  unsigned short seven[1] = {7};
  expectPrints([&] { EXPECT_EQ(dev("obuf")->write(seven, 0x4000, 1, &n), FAILURE); },
               {"function wrOBufLoc - failed to write device 2(0x4000), datum= 0x0007\nInvalid argument (22)\n"});
  EXPECT_EQ(trace.grep("fpga wr obuf 0x4000").size(), 1u);  // no second request after a failed first
}

TEST_F(GpmcTest, RegisterWritesWithReadBackAndBitChanges) {
  EXPECT_EQ(reg->regWrWithRdBack(0x1234, 0x04, true), SUCCESS);
  EXPECT_EQ(reg->regWrWithRdBack(0x1234, 0x00, true), FAILURE);  // read-only identity word
  EXPECT_EQ(reg->setField(0x04, 0x0f, 0x05), SUCCESS);
  EXPECT_EQ(peek("reg", "0x04"), 0x1235);
  simctl({"fpga", "fault", "stuck", "0x14", "1", "0"});
  expectPrints([&] { EXPECT_EQ(ctl.GPMCEnPrimarySrc(), FAILURE); },
               {"function setResetBits - bits read back not as expected, bits= 0x0002 act= 0x0000\n",
                "function GPMCEnPrimarySrc - failed to enable primary source\n"});
  simctl({"fpga", "fault", "stuck", "0x0e", "0", "1"});
  expectPrints([&] { EXPECT_EQ(ctl.GPMCInvertWFData(0, false), FAILURE); },
               {"bits= 0x0001 act= 0x0001\n", "failed to non-invert chan 0 data\n"});
}

TEST_F(GpmcTest, WaveformActionsSetTheirBitsInOrder) {
  ASSERT_EQ(ctl.GPMCStartWaveForm(), SUCCESS);
  bool enabled = false, running = false;
  ASSERT_EQ(stat.isDataStrmEnabled(&enabled, &running), SUCCESS);
  EXPECT_TRUE(enabled && running);
  ASSERT_EQ(ctl.GPMCStopWaveForm(), SUCCESS);
  ASSERT_EQ(stat.isDataStrmEnabled(&enabled, &running), SUCCESS);
  EXPECT_FALSE(enabled || running);
  EXPECT_EQ(wrote("0x0014"), "0x1000 0x1010 0x1000 0x0000");
  trace.mark();  // the one-bit actions: data stream on, wave run on, wave run off
  for (E_GPMC_WV_ACTION a : {GPMC_WV_ACTION_DATSTRM_EN, GPMC_WV_ACTION_START_RUN, GPMC_WV_ACTION_STOP_RUN})
    EXPECT_EQ(ctl.startStopWaveForm(a), SUCCESS);
  EXPECT_EQ(wrote("0x0014"), "0x1000 0x1010 0x1000");
  expectPrints([&] { EXPECT_EQ(ctl.startStopWaveForm(static_cast<E_GPMC_WV_ACTION>(9)), FAILURE); },
               {"unrecognized action"});
  // Only the last step of a pair counts; a failed stop pair skips the start pair.
  simctl({"fpga", "fault", "stuck", "0x14", "4", "1"});
  EXPECT_EQ(ctl.GPMCStopWaveForm(), SUCCESS);
  simctl({"fpga", "fault", "stuck", "0x14", "12", "1"});
  trace.mark();
  std::string out = captured([&] { EXPECT_EQ(ctl.GPMCStopStartWaveForm(), FAILURE); });
  EXPECT_EQ(trace.grep("fpga wr reg 0x0014").size(), 2u);  // the stop pair only
  EXPECT_TRUE(contains(out, "failed to start-stop data stream and wave run\n"));
}

TEST_F(GpmcTest, FpgaTriggerOfTheLogPulsesThePrimarySource) {
  EXPECT_EQ(captured([] { log(LOG_TRIG | LOG_TERM, "marker\n"); }), "marker\n");
  EXPECT_EQ(wrote("0x0014"), "0x0002 0x0000");
}

TEST_F(GpmcTest, WatchdogAndMeasurementControls) {
  ASSERT_EQ(stat.setSHDogEn(true), SUCCESS);
  ASSERT_EQ(stat.tickleDog(false), SUCCESS);
  EXPECT_EQ(wrote("0x0048"), "0x0000");
  EXPECT_TRUE(trace.grep("fpga rd reg 0x0048").empty());  // a tickle is written, never read back
  ASSERT_EQ(ctl.GPMCFrcMeasReset(), SUCCESS);
  EXPECT_EQ(wrote("0x000e"), "0x1040 0x1440 0x1040");
  const unsigned long long paused = kernel().counts().pausedUs;
  ASSERT_EQ(ctl.GPMCEnContDataColl(), SUCCESS);
  EXPECT_EQ(kernel().counts().pausedUs - paused, 10000u);  // the arming and the run each settle for 5 ms
  EXPECT_TRUE(contains(simctl({"fpga", "status"}), "a2d: continuous"));
}

TEST_F(GpmcMainHostTest, MainHostOkayWatchdogOledResetAndSnapshot) {
  bool ok = true;
  ASSERT_EQ(stat.setMHOK(false), SUCCESS);
  ASSERT_EQ(stat.mhAllOK(&ok), SUCCESS);
  EXPECT_FALSE(ok);
  ASSERT_EQ(stat.setMHOK(true), SUCCESS);
  ASSERT_EQ(stat.setMHDogEn(true), SUCCESS);
  trace.mark();
  ASSERT_EQ(stat.tickleDog(true), SUCCESS);
  const unsigned long long paused = kernel().counts().pausedUs;
  ASSERT_EQ(ctl.rstOLED(), SUCCESS);
  EXPECT_EQ(kernel().counts().pausedUs - paused, 500000u);  // held in reset for half a second
  EXPECT_EQ(wrote("0x0014"), "0x0000");
  EXPECT_EQ(wrote("0x0006"), "0x0010 0x4010");
  S_GPMC_MH_FPGA_REGS regs = {};
  ASSERT_EQ(reg->rdFPGARegs(&regs), SUCCESS);
  EXPECT_EQ(regs.miscCtl, 0x4010);
  EXPECT_EQ(regs.miscStat, 0x0002);
  EXPECT_EQ(regs.allOKStatCtl, 0x0001);
}

TEST_F(GpmcTest, SignalHostSnapshotReadsEachRegisterOnceButTheUnmappedOne) {
  S_GPMC_FPGA_REGS regs = {};
  regs.lnSyncCurrPlsLim = 0xbeef;
  simctl({"fpga", "poke", "reg", "0x62", "0x0062"});
  ASSERT_EQ(reg->rdFPGARegs(&regs), SUCCESS);
  EXPECT_EQ(regs.lnSyncCorrPlsStat, 0x0062);
  EXPECT_EQ(regs.lnSyncCurrPlsLim, 0xbeef);
  // The signal host's register map: every word from 0x00 to 0x62 but the five
  // it leaves unassigned, in address order. The simulated FPGA answers an odd
  // offset with its even word, so only the offsets read show a moved address.
  std::string want, got;
  for (unsigned a = 0; a <= 0x62; a += 2)
    if (a != 0x3c && a != 0x3e && a != 0x48 && a != 0x52 && a != 0x54) want += formatted(" 0x%04x", a);
  for (const std::string& l : trace.grep("fpga rd reg")) got += " " + l.substr(12, 6);
  EXPECT_EQ(got, want);
}

// Each location is written twice and read twice, the first read answering late;
// the gpmc command's fill of the buffer shows the double writes at every word.
TEST_F(GpmcTest, OutputBufferTakesWritesOnlyWhenEnabledAndReadsTwice) {
  GpmcDev* obuf = dev("obuf");
  unsigned short words[2] = {0x1234, 0x5678}, buf[2] = {};
  unsigned long n = 0;
  ASSERT_EQ(obuf->write(words, 0x20, 1, &n), SUCCESS);
  EXPECT_EQ(peek("obuf", "0x20"), 0);
  EXPECT_EQ(obuf->write(words, 0x20, 0, &n), SUCCESS);  // no word: nothing written, nothing failed
  ASSERT_EQ(ctl.GPMCEnOBufWrites(), SUCCESS);
  ASSERT_EQ(obuf->write(words, 0x20, 2, &n), SUCCESS);
  trace.mark();
  ASSERT_EQ(obuf->read(buf, 0x20, &n), SUCCESS);
  EXPECT_TRUE(buf[0] == 0x1234 && buf[1] == 0x5678) << std::hex << buf[0] << " " << buf[1];
  EXPECT_EQ(fpgaLines(), (std::vector<std::string>{"fpga rd obuf 0x0020 -> 0x0000", "fpga rd obuf 0x0020 -> 0x1234",
                                                  "fpga rd obuf 0x0022 -> 0x1234", "fpga rd obuf 0x0022 -> 0x5678"}));
}

TEST_F(GpmcTest, SampleBlocksGoToAFileFromTheSettledAddress) {
  const std::string path = testPath("ctf.txt");
  // Two blocks to the file: what it holds, which is the four words from offset at each block.
  auto twoBlocks = [&](unsigned offset) {
    FILE* f = fopen(path.c_str(), "w+");
    EXPECT_EQ(GpmcDevBuf(*dev("ibuf")).rdOBufToFile(f, 2), SUCCESS);
    fclose(f);
    std::string expected;
    for (unsigned k = 0; k < 8; ++k)
      expected += formatted("%04x\n", peek("ibuf", formatted("0x%x", offset + 2 * (k % 4))));
    EXPECT_EQ(readFile(path), expected) << std::hex << offset;
  };
  simctl({"fpga", "poke", "reg", "0x0e", "0x1040"});  // an A2D that is not collecting, at address 0
  twoBlocks(0);
  EXPECT_EQ(trace.grep("fpga rd ibuf").size(), 9u);  // a discarded read, then four words per block
  EXPECT_EQ(trace.grep("fpga rd reg 0x0010").size(), 4u);

  // A finished one-shot collection rests at the last address, 0xffff, the value the first read is compared
  // with: one address read a block. Channel 2 inverted there gives words with every bit in use.
  int waited = 0;
  ASSERT_EQ(ctl.GPMCEnOSDataCollNWait4Dn(0xfffe, &waited), SUCCESS);
  ASSERT_EQ(peek("reg", "0x10"), 0xffff);
  simctl({"fpga", "poke", "reg", "0x0e", "0x0002"});
  trace.mark();
  twoBlocks(0xffff * 4);
  EXPECT_EQ(trace.grep("fpga rd reg 0x0010").size(), 2u);
}

TEST_F(GpmcTest, DriverBufferIsPreparedWithOneWriteAndAMapping) {
  ASSERT_EQ(GpmcDevBuf(*reg).GPMCPreventDriverOverflow(), SUCCESS);
  EXPECT_EQ(fpgaLines(), (std::vector<std::string>{"fpga write cmd 0x11abcb val 0x100000", "fpga mmap len 0x200000"}));
  EXPECT_TRUE(contains(simctl({"fpga", "status"}), "driver buffer prepared: yes"));
}
