// The transaction trace never stops the simulated instrument: a trace that
// cannot be written is reported once on standard error and the program goes on.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "programs.h"
#include "ptySession.h"
#include "testEnv.h"
#include "textUtil.h"

namespace {
const std::string DROPPED = "diag-sim: cannot write the trace to ";

std::string fifo(const std::string& name) {
  std::string path = testPath(name);
  mkfifo(path.c_str(), 0600);
  return path;
}
}  // namespace

// A directory; a FIFO that nothing reads (opening it would wait for a reader,
// with every other diag-sim waiting behind); a FIFO whose reader never reads
// (it fills up while a command reads thousands of words).
TEST(SimTrace, UnusableTraceIsReportedOnceAndTheProgramGoesOn) {
  const std::string stalled = fifo("stalled.fifo");
  int reader = open(stalled.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  struct Case { std::string path; std::string why; std::vector<std::string> args; std::string printed; } cases[] = {
      {testDir(), "Is a directory", {"gpmc", "-m", "reg", "-r", "1"}, "\n0000: "},
      {fifo("unread.fifo"), "a FIFO that nothing reads", {"gpmc", "-m", "reg", "-r", "1"}, "\n0000: "},
      {stalled, "its reader has read nothing for a second", {"gpmc", "-m", "obuf", "-r", "8192", "-s"},
       "reading obuf:\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    EnvSet at("DIAG_SIM_TRACE", c.path);
    RunResult r = runSim(c.args, "", 20000);
    EXPECT_TRUE(!r.timedOut && r.exitCode == 0) << r.out;
    EXPECT_EQ(countOf(r.out, DROPPED), 1u) << r.out;
    EXPECT_TRUE(holdsAll(r.out, {DROPPED + c.path + " (" + c.why + "); going on without it\n", c.printed}));
  }
  close(reader);
}

// A reader that goes away ends the trace, not the shell.
TEST(SimTrace, ReaderThatGoesAwayEndsTheTraceNotTheShell) {
  const std::string path = fifo("reader.fifo");
  int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  EnvSet at("DIAG_SIM_TRACE", path);
  PtySession sh(programArgv(diagSimBin(), {}));
  ASSERT_TRUE(sh.waitFor("diag> "));
  sh.mark();
  sh.type("gpmc -m reg -r 1\r");
  ASSERT_TRUE(sh.waitFor("\n0000: ")) << sh.since();
  ASSERT_TRUE(sh.waitFor("diag> "));
  struct pollfd p = {reader, POLLIN, 0};
  char buf[4096];
  ssize_t n = poll(&p, 1, 10000) > 0 ? read(reader, buf, sizeof buf) : 0;
  EXPECT_TRUE(contains(std::string(buf, n > 0 ? static_cast<size_t>(n) : 0), "fpga rd reg 0x0000 -> "));
  close(reader);

  sh.mark();
  sh.type("gpmc -m reg -r 1\r");
  EXPECT_TRUE(sh.waitFor(DROPPED + path + " (its reader has gone); going on without it")) << sh.since();
  EXPECT_TRUE(sh.waitFor("\n0000: ")) << sh.since();
  EXPECT_TRUE(sh.waitFor("diag> "));
  sh.type("q\r");
  EXPECT_EQ(sh.waitExit(), 0);
}

// A program started without standard input may get descriptor 0 for its trace, as good as any other.
TEST(SimTrace, DescriptorZeroCarriesTheTrace) {
  std::string line = "exec 0<&-";
  for (const std::string& w : programArgv(diagSimBin(), {"i2c", "-d", "fctl", "-o", "0x90", "-r", "2"}))
    line += " '" + w + "'";
  Trace t;
  runProgram({"/bin/sh", "-c", line});
  EXPECT_FALSE(t.grep("smbus read word_data cmd 0x90").empty());
}
