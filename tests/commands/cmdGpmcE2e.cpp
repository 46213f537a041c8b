// The gpmc command in the built diag-sim, with the FPGA traffic read from the trace.
#include <sys/prctl.h>

#include <chrono>
#include <cstdlib>

#include "fpgaEngine.h"
#include "gpmcTestUtil.h"
#include "programs.h"

namespace {
class GpmcCmd : public GpmcTest {
protected:
  std::string run(std::vector<std::string> args, const std::string& input = "") {
    args.insert(args.begin(), "gpmc");
    return simOut(args, input);
  }
};
}  // namespace

TEST_F(GpmcCmd, ReadsInBlocksOf256WordsAndWritesStepByOneByte) {
  // The dump of the second block goes on at its own offsets.
  const std::string dump = run({"-m", "reg", "-r", "300"});
  EXPECT_TRUE(contains(dump, "\n01f0: ") && contains(dump, "\n0200: ") && contains(dump, "\n0250: ")) << dump;
  std::vector<std::string> reads = trace.grep("fpga rd reg");
  ASSERT_EQ(reads.size(), 300u);
  for (auto [i, at] : {std::pair{0, "0x0000"}, {255, "0x01fe"}, {256, "0x0200"}, {299, "0x0256"}})
    EXPECT_TRUE(contains(reads[i], std::string("reg ") + at + " ->")) << reads[i];
  trace.mark();
  run({"-m", "reg", "-w", "3", "-o", "0x10", "-d", "0x56781234"});
  EXPECT_EQ(trace.grep("fpga wr"), (std::vector<std::string>{"fpga wr reg 0x0010 0x1234", "fpga wr reg 0x0011 0x5678",
                                                            "fpga wr reg 0x0012 0x0000"}));
  // A missing count is one word.
  trace.mark();
  std::string out = run({"-m", "reg", "-r", "-o", "4"});
  EXPECT_EQ(trace.grep("fpga rd reg").size(), 1u);
  EXPECT_TRUE(contains(out, "reading reg:\n0004: 0000\n"));
  trace.mark();
  run({"-m", "reg", "-o", "012", "-w"});
  EXPECT_EQ(trace.grep("fpga wr"), (std::vector<std::string>{"fpga wr reg 0x000a 0x0000"}));  // octal 012
}

TEST_F(GpmcCmd, OneWordFillsTheWholeOutputBuffer) {
  run({"-m", "obuf", "-w", "1", "-d", "0x1234"});
  std::vector<std::string> writes = trace.grep("fpga wr obuf");
  ASSERT_EQ(writes.size(), 2u * 8192u);
  for (size_t i = 0; i < writes.size(); ++i)
    ASSERT_EQ(writes[i], formatted("fpga wr obuf 0x%04x 0x1234", static_cast<unsigned>(i / 2 * 2)));
  EXPECT_EQ(wrote("0x0014"), "0x0200 0x0000");
  EXPECT_EQ(peek("obuf", "0"), 0x1234);
  EXPECT_EQ(peek("obuf", "0x3ffe"), 0x1234);
  simctl({"kernel", "fail", "ioctl", "fpga", "EIO", "0x11abc2", "after", "1", "times", "1"});  // the first word refused
  EXPECT_NE(runSim({"--exit-status", "gpmc", "-m", "obuf", "-w", "1", "-d", "1"}).exitCode, 0);  // the disable went
}

TEST_F(GpmcCmd, InputFileWritesOneWordPerLine) {
  std::string in = testPath("in.txt");
  writeFile(in, "10" + std::string(300, ' ') + "x\n-1\n65535\n");  // the rest of a line too long is dropped
  run({"-m", "obuf", "-w", "-o", "0x100", "-fi", in});
  for (auto [at, v] : {std::pair{"0x100", 10}, {"0x102", 0xffff}, {"0x104", 0xffff}})
    EXPECT_EQ(peek("obuf", at), v) << at;
  EXPECT_EQ(trace.grep("fpga wr obuf").size(), 6u);
  writeFile(in, "7\nseven\n");
  std::string out = run({"-m", "reg", "-w", "-o", "0x20", "-fi", in});
  EXPECT_TRUE(contains(out, "line 2 of the input file is not a number"));
  EXPECT_EQ(peek("reg", "0x20"), 7);
  // At most 8192 lines are written: the last one that is fills the buffer's last word, the next is left.
  std::string lines;
  for (int i = 0; i < 8191; ++i) lines += "1\n";
  writeFile(in, lines + "2\n3\n");
  trace.mark();
  EXPECT_FALSE(contains(run({"-m", "obuf", "-w", "-fi", in}), "fail"));
  EXPECT_EQ(peek("obuf", "0x3ffe"), 2);
  EXPECT_TRUE(trace.grep("fpga wr obuf 0x4000").empty());
  RunResult missing = runSim({"--exit-status", "gpmc", "-m", "obuf", "-w", "-fi", testPath("nosuch.txt")});
  EXPECT_NE(missing.exitCode, 0);
  EXPECT_TRUE(contains(missing.out, "unable to open file " + testPath("nosuch.txt") + "\n")) << missing.out;
}

TEST_F(GpmcCmd, ReadDataDumpsToFilesInEachFormat) {
  for (int i = 0; i < 8; ++i)  // line-sync registers, which hold what is written
    simctl({"fpga", "poke", "reg", std::to_string(0x4a + 2 * i), std::to_string(0x1000 * i + 0x41)});
  std::string dec = testPath("d.txt"), hex = testPath("h.txt"), bin = testPath("b.bin");
  run({"-m", "reg", "-o", "0x4a", "-r", "8", "-s", "-f", dec});
  EXPECT_EQ(readFile(dec), "65\n4161\n8257\n12353\n16449\n20545\n24641\n28737\n");
  run({"-m", "reg", "-o", "0x4a", "-r", "8", "-s", "-fh", hex});
  EXPECT_EQ(readFile(hex), "0041 1041  2041 3041\n    4264001 541143105     0x00411041 0x20413041 \n"
                           "4041 5041  6041 7041\n    1078022209 1614901313     0x40415041 0x60417041 \n");
  run({"-m", "reg", "-o", "0x4a", "-r", "8", "-s", "-scf", "-fh", hex});
  EXPECT_EQ(readFile(hex), "0041 1041  2041 3041\n4041 5041  6041 7041\n");
  run({"-m", "reg", "-o", "0x4a", "-r", "3", "-s", "-fb", bin});
  std::string raw = readFile(bin);
  ASSERT_EQ(raw.size(), 6u);
  unsigned short w[3];
  memcpy(w, raw.data(), 6);
  EXPECT_EQ(w[2], 0x2041);
}

TEST_F(GpmcCmd, ChannelOneSamplesDecodeToTheSignalTheA2DHolds) {
  std::string out = testPath("s1.txt");
  run({"-m", "ibuf", "-r", "512", "-s", "-fs1", out});
  std::vector<std::string> samples = splitLines(readFile(out));
  ASSERT_EQ(samples.size(), 128u);  // two channel-1 samples in each group of eight words
  for (size_t i = 0; i < samples.size(); ++i)
    ASSERT_EQ(std::stol(samples[i]), sim::a2dSample(0, static_cast<uint32_t>(i), false)) << i;
  // Inverted channel 1 reads back negated; un-inverting restores it.
  run({"-inv", "0", "1"});
  EXPECT_EQ(peek("reg", "0x0e") & 3, 1);
  run({"-m", "ibuf", "-o", "0x10", "-r", "6", "-s", "-fs1", out});  // six words: the block's last two are a sample
  std::vector<std::string> inverted = splitLines(readFile(out));
  ASSERT_EQ(inverted.size(), 2u);
  EXPECT_EQ(std::stol(inverted[0]), -sim::a2dSample(0, 2, false));
  run({"-inv", "1", "1"});
  EXPECT_EQ(peek("reg", "0x0e") & 3, 0);
  run({"-inv", "0", "2"});  // channel 2 by its own bit
  EXPECT_EQ(peek("reg", "0x0e") & 3, 2);
}

TEST_F(GpmcCmd, CollectionsAndMeasurementResets) {
  run({"-col"});  // 256 samples unless told
  EXPECT_EQ(wrote("0x000e"), "0x3040 0x0000");
  EXPECT_GT(peek("reg", "0x10"), 256);
  EXPECT_TRUE(contains(run({"-m", "reg", "-col", "100"}), "wrong number of arguments"));
  run({"-fmr"});
  run({"-fr"});
  EXPECT_TRUE(contains(simctl({"fpga", "status"}), "forced resets 2"));
  std::string ctf = testPath("ctf.txt");
  run({"-ctf", ctf, "3"});
  EXPECT_EQ(splitLines(readFile(ctf)).size(), 12u);
  // A collection the driver refuses part-way fails the command, though its file was written without fault.
  simctl({"kernel", "fail", "ioctl", "fpga", "EIO", "0x11abc1", "after", "4"});
  RunResult failed = runSim({"--exit-status", "gpmc", "-ctf", ctf, "3", "-caon"});
  simctl({"kernel", "clear"});
  EXPECT_NE(failed.exitCode, 0) << failed.out;
  EXPECT_FALSE(contains(simctl({"fpga", "status"}), "a2d: continuous"));  // nothing after the failed stage
  EXPECT_TRUE(contains(failed.out, "function rdOBufToFile - failed to read device")) << failed.out;
  trace.mark();
  RunResult on = runSim({"--exit-status", "gpmc", "-caon"});  // started and stopped without a word, and no file to fail
  EXPECT_EQ(on.out + std::to_string(on.exitCode), "0");
  EXPECT_TRUE(contains(simctl({"fpga", "status"}), "a2d: continuous"));
  EXPECT_EQ(run({"-caoff"}), "");
  EXPECT_EQ(trace.grep("fpga ioctl"),
            (std::vector<std::string>{"fpga ioctl 0x11abc6 devtype 3", "fpga ioctl 0x11abca devtype 3"}));
}

// A converter that stops delivering: the one-shot wait gives up after its million
// polls, says so at both levels, and leaves the collection as it found it.
TEST_F(GpmcCmd, StalledCollectionTimesOutAndIsLeftRunning) {
#ifndef __x86_64__
  GTEST_SKIP() << "a million polls of the simulator take many minutes under an emulator";
#endif
  simctl({"fpga", "fault", "a2d-stalled"});
  // The polls sleep one microsecond each: without the scheduler's usual 50 us
  // of slack the million of them take seconds, not a minute. Without the trace
  // of every poll, too; diag-sim inherits both.
  int slack = prctl(PR_GET_TIMERSLACK);
  prctl(PR_SET_TIMERSLACK, 1);
  std::string tracePath = getenv("DIAG_SIM_TRACE");
  unsetenv("DIAG_SIM_TRACE");
  RunResult r = runSim({"gpmc", "-col", "16"}, "", 180000);
  setenv("DIAG_SIM_TRACE", tracePath.c_str(), 1);
  prctl(PR_SET_TIMERSLACK, slack);
  EXPECT_TRUE(contains(r.out, "function GPMCEnOSDataCollNWait4Dn - timed out waiting for collection done\n")) << r.out;
  EXPECT_TRUE(contains(r.out, "function oneShotCollection - GPMCEnOSDataCollNWait4Dn() timed out\n")) << r.out;
  // Started, never stopped: the control word keeps the one-shot start.
  EXPECT_EQ(peek("reg", "0x0e"), 0x3040);
  EXPECT_TRUE(contains(simctl({"fpga", "status"}), "a2d: one-shot")) << simctl({"fpga", "status"});
}

TEST_F(GpmcCmd, SyncSourceAndTransmitFrequency) {
  simctl({"fpga", "poke", "reg", "0x06", "0xffef"});  // every bit but the one that says external
  EXPECT_TRUE(contains(run({"-si"}), "using internal MCLK (not from other signal host)\n"));
  simctl({"fpga", "poke", "reg", "0x06", "0x10"});
  EXPECT_TRUE(contains(run({"-si"}), "using external MCLK from other signal host\n"));
  RunResult still = runSim({"--exit-status", "gpmc", "-t"});
  EXPECT_TRUE(still.exitCode == 0 && contains(still.out, "transmitting approx. 0 cycles per second\n")) << still.out;
  simctl({"fpga", "poke", "reg", "0x14", "0"});
  ctl.GPMCStartWaveForm();  // 60 cycles a second
  auto start = std::chrono::steady_clock::now();
  std::string out = run({"-t"});
  double took = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  size_t at = out.find("transmitting approx. ");
  ASSERT_NE(at, std::string::npos) << out;
  int cycles = std::stoi(out.substr(at + 21));
  // The count covers at least the second it waits, and no more than the whole run.
  EXPECT_GE(cycles, 45);
  EXPECT_LE(cycles, 60 * took + 10) << "run took " << took << " s";
}

TEST_F(GpmcCmd, ListUsageAndContinuousReadUntilQ) {
  EXPECT_EQ(run({"-l"}), "fgen\nibuf\nobuf\noled\npsocbuf\nreg\n");
  EXPECT_TRUE(contains(run({"-m", "reg", "-r", "0"}), "reading reg:"));  // no word asked for, none read, no refusal
  EXPECT_EQ(runSim({"gpmc"}).out, "Try gpmc -h\n");
  std::string out = run({"-m", "reg", "-rc", "-s"}, "q");
  EXPECT_TRUE(contains(out, "continuously reading reg (type q to quit):\n"));
  EXPECT_EQ(trace.grep("fpga rd reg").size(), 256u);
  // At the end of the input no q can come: the read stops as well.
  trace.mark();
  run({"-m", "reg", "-rc", "-s"});
  EXPECT_EQ(trace.grep("fpga rd reg").size(), 256u);
}

// A failed write names the words the command meant to write (the -d value's
// two words, whatever the count); a read that fails mid-line shows the words
// read before the failure, then the report, then the dump's end.
TEST_F(GpmcCmd, FailedTransfersShowTheWordsOnEitherSide) {
  std::string out = run({"-m", "reg", "-w", "1", "-o", "0x1000", "-d", "0x12345678"});
  EXPECT_TRUE(contains(out, "function wrLoop - failed to write device 4(0x1000), buf[0]= 0x5678, buf[1]= 0x1234, "
                            "buf[2]= 0x0000, buf[3]= 0x0000\nInvalid argument (22)\n")) << out;
  out = run({"-m", "reg", "-o", "0xff8", "-r", "10"});
  EXPECT_TRUE(out.starts_with("reading reg:\n0ff8: 0000000000000000file gpmcDev, line ")) << out;
  EXPECT_TRUE(out.ends_with("function rdLoop - failed to read device 4(0x1000), byteCnt= 4\nInvalid argument (22)\n\n"))
      << out;
  run({"-m", "reg", "-o", "0xff8", "-r", "10", "-s", "-f", testPath("part.txt")});  // a block cut short is not stored
  EXPECT_EQ(readFile(testPath("part.txt")), "");
}

TEST_F(GpmcCmd, BadInputGetsAClearMessage) {
  EXPECT_TRUE(contains(run({"-m", "nope", "-r", "1"}), "Device nope not found\r\n"));
  const std::string unopened = run({"-m", "reg", "-r", "1", "-f", "/nonexistent/dir/out.txt"});  // and nothing read
  EXPECT_TRUE(contains(unopened, "unable to open file /nonexistent/dir/out.txt: No such file or directory (2)\n") &&
              !contains(unopened, "0000: ")) << unopened;
  // Numbers that are not numbers, or out of range, are refused as cmdLineObjectMapTest.cpp shows.
  EXPECT_TRUE(contains(run({"-m"}), "-m needs a value"));
  EXPECT_TRUE(contains(run({"-r", "1"}), "no device selected"));
  EXPECT_TRUE(contains(run({"-m", "%s%n%x", "-r", "1"}), "Device %s%n%x not found"));
  EXPECT_TRUE(trace.grep("fpga wr").empty());
  // A file name is kept to its first 60 characters.
  std::string longName = testPath(std::string(80, 'n'));
  run({"-m", "reg", "-r", "1", "-s", "-f", longName});
  EXPECT_TRUE(readFile(longName.substr(0, 60)).size() > 0);
}
