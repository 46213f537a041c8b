// The named semaphores between processes: a holder that dies does not stop
// the next process, and processes share the FPGA word by word.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <random>
#include <semaphore.h>
#include <sstream>

#include "programs.h"
#include "semIsolation.h"
#include "testEnv.h"

#include <gtest/gtest.h>

namespace {
bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// Runs the function with a private /dev/shm; its report is named by the first argument.
#define RUN_ISOLATED(report, ...)                                            \
  Isolated isolated_ = runIsolated(__VA_ARGS__);                             \
  if (!isolated_.skipReason.empty()) GTEST_SKIP() << isolated_.skipReason; \
  const std::string& report = isolated_.report

// Starts a holder of "diagGPMCSem" and ends it with sig; collects it unless
// told not to. The report names the holder ("held <pid>").
std::string holdAndEnd(int sig, bool collect, pid_t* holder = nullptr) {
  Helper h = startHelper("hold");
  std::string got;
  if (!waitForLine(h.out, "held", 30000, &got)) return "holder did not start: " + got;
  if (holder) *holder = h.pid;
  kill(h.pid, sig);
  int status = collect ? waitChild(h.pid, 10000) : 0;
  close(h.out);
  std::ostringstream out;
  out << got;
  if (collect) out << "ended by signal " << (WIFSIGNALED(status) ? WTERMSIG(status) : 0) << "\n";
  out << "value " << semValue("diagGPMCSem") << "\n";
  return out.str();
}

std::string nextFpgaAccess() {
  long long t0 = monoMs();
  RunResult r = runSim({"gpmc", "-m", "reg", "-r", "1"});
  std::ostringstream out;
  out << "next process: exit " << r.exitCode << " after " << (monoMs() - t0) << " ms\n" << r.out;
  return out.str();
}

// The recovery message that names the holder the report started with.
std::string recoveryOfHolder(const std::string& report) {
  size_t at = report.find("held ");
  std::string pid = at == std::string::npos ? "?" : report.substr(at + 5, report.find('\n', at) - at - 5);
  return "recovered semaphore diagGPMCSem from process " + pid + ", which ended while holding it\n";
}

long msAfter(const std::string& report) {
  size_t at = report.find(" after ");
  return at == std::string::npos ? -1 : std::stol(report.substr(at + 7));
}
}  // namespace

TEST(NamedSemaphores, KilledHolderIsRecoveredByTheNextProcess) {
  RUN_ISOLATED(report, [] {
    std::string r = holdAndEnd(SIGKILL, true);
    return r + nextFpgaAccess();
  });
  EXPECT_TRUE(contains(report, "value 0\n")) << report;  // it died holding the semaphore
  EXPECT_TRUE(contains(report, recoveryOfHolder(report))) << report;
  EXPECT_TRUE(contains(report, "next process: exit 0")) << report;
  EXPECT_TRUE(contains(report, "\n0000: ")) << report;  // the word was read
  EXPECT_LT(msAfter(report), 5000) << report;
}

TEST(NamedSemaphores, HolderNotYetCollectedByItsParentCountsAsEnded) {
  RUN_ISOLATED(report, [] {
    pid_t holder = 0;
    std::string r = holdAndEnd(SIGKILL, false, &holder);
    usleep(100000);  // dead, but left for its parent to collect
    r += nextFpgaAccess();
    waitChild(holder, 5000);
    return r;
  });
  EXPECT_TRUE(contains(report, recoveryOfHolder(report))) << report;
  EXPECT_LT(msAfter(report), 5000) << report;
}

TEST(NamedSemaphores, InterruptedOrExitingHolderReleasesOnItsWayOut) {
  RUN_ISOLATED(report, [] {
    std::string r = holdAndEnd(SIGINT, true);
    Helper h = startHelper("exit-holding");
    int status = waitChild(h.pid, 30000);
    close(h.out);
    r += "exit-holding: " + std::to_string(WIFEXITED(status) ? WEXITSTATUS(status) : -1);
    r += " value " + std::to_string(semValue("diagGPMCSem")) + "\n";
    return r + nextFpgaAccess();
  });
  EXPECT_TRUE(contains(report, "\nended by signal 2\nvalue 1\n")) << report;
  EXPECT_TRUE(contains(report, "exit-holding: 0 value 1\n")) << report;
  EXPECT_FALSE(contains(report, "recovered")) << report;
  EXPECT_TRUE(contains(report, "next process: exit 0")) << report;
}

// A semaphore file of another build's layout (here twice this build's size,
// all zero: taken) is replaced rather than waited on for ever.
TEST(NamedSemaphores, SemaphoreOfAnotherLayoutIsReplaced) {
  RUN_ISOLATED(report, [] {
    writeFile("/dev/shm/sem.diagGPMCSem", std::string(2 * sizeof(sem_t), '\0'));
    std::string r = nextFpgaAccess();
    return r + "value " + std::to_string(semValue("diagGPMCSem"));
  });
  EXPECT_TRUE(contains(report, "next process: exit 0")) << report;
  EXPECT_FALSE(contains(report, "waiting for semaphore")) << report;
  EXPECT_TRUE(contains(report, "value 1")) << report;
}

// A stopping signal can land at any instruction of a take or a give; the
// semaphore must come out free every time.
TEST(NamedSemaphores, InterruptsAtAnyMomentNeverLeaveTheSemaphoreTaken) {
  RUN_ISOLATED(report, [] {
    std::ostringstream out;
    std::mt19937 rng(12345);
    for (int round = 0; round < 40; ++round) {
      Helper h = startHelper("churn");
      std::string got;
      if (!waitForLine(h.out, "ready", 30000, &got)) return std::string("churn did not start");
      usleep(1000 + rng() % 4000);
      kill(h.pid, SIGINT);
      int status = waitChild(h.pid, 10000);
      close(h.out);
      int v = semValue("diagGPMCSem");
      if (!WIFSIGNALED(status) || WTERMSIG(status) != SIGINT || v != 1)
        out << "round " << round << ": status " << status << " value " << v << "\n";
    }
    return out.str();
  });
  EXPECT_EQ(report, "");
}

TEST(NamedSemaphores, ReentrantTakesGiveOnlyAtTheOutermost) {
  RUN_ISOLATED(report, [] {
    Helper h = startHelper("nested");
    std::string got;
    waitForLine(h.out, "outer given", 30000, &got);
    waitChild(h.pid, 10000);
    close(h.out);
    return got;
  });
  EXPECT_EQ(report, "inner given: held=1 value=0\nouter given: held=0 value=1\n");
}

// Two processes write and read one register word at once, each its own values:
// every word read back is one that was written whole.
TEST(NamedSemaphores, TwoProcessesShareTheFpgaWordByWord) {
  constexpr int ROUNDS = 60;
  simctl({"reset"});
  simctl({"set", "board", "signal"});
  for (char who : {'a', 'b'}) {
    std::string script;
    for (int i = 0; i < ROUNDS; ++i) {
      char line[96];
      snprintf(line, sizeof line, "gpmc -m reg -w 1 -o 4 -d 0x%c%03x\ngpmc -m reg -r 1 -o 4 -s\n", who, i);
      script += line;
    }
    writeFile(testPath(std::string("share-") + who), script);
  }
  Trace trace;
  RUN_ISOLATED(report, [] {
    std::string both;
    for (const char* who : {"a", "b"}) {
      for (const std::string& word : programArgv(diagSimBin(), {"file", testPath(std::string("share-") + who)}))
        both += word + " ";
      both += std::string(">/dev/null & ") + who + "=$!; ";
    }
    RunResult r = runProgram({"/bin/sh", "-c", both + "wait $a; ra=$?; wait $b; echo exits $ra $?"}, "", 120000);
    return r.out + "value " + std::to_string(semValue("diagGPMCSem"));
  });
  EXPECT_EQ(report, "exits 0 0\nvalue 1");
  std::vector<std::string> reads = trace.grep("fpga rd reg 0x0004 -> ");
  EXPECT_EQ(reads.size(), 2u * ROUNDS);
  EXPECT_EQ(trace.grep("fpga wr reg 0x0004").size(), 2u * ROUNDS);
  for (const std::string& l : reads) {
    unsigned v = std::stoul(l.substr(l.size() - 6), nullptr, 16);
    bool written = (v >> 12 == 0xa || v >> 12 == 0xb) && (v & 0xfff) < ROUNDS;
    EXPECT_TRUE(written) << l;
  }
}
