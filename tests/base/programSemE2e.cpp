// The named semaphores between processes: a holder that dies does not stop
// the next process, and processes share the FPGA word by word.
#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <random>
#include <semaphore.h>
#include <sstream>
#include <thread>

#include "cmdRun.h"
#include "programSem.h"
#include "programs.h"
#include "ptySession.h"
#include "semIsolation.h"
#include "testEnv.h"
#include "textUtil.h"

namespace {
// Starts a holder of "diagGPMCSem" and ends it with sig once it holds it
// (and meanwhile has done to it whatever else the test does).
Child holdAndEnd(int sig, void (*meanwhile)() = [] {}) {
  Child h = startHelper("hold");
  std::string got;
  if (waitForLine(h.out, "held", 30000, &got)) {
    meanwhile();
    kill(h.pid, sig);
  }
  close(h.out);
  return h;
}

std::string value() { return "value " + std::to_string(semValue("diagGPMCSem")) + "\n"; }

// How the next process that reads an FPGA word fares: its exit, whether within
// seconds, whether it read the word and whether it reported recovering the
// semaphore from holder; then what it printed.
std::string nextFpgaAccess(pid_t holder = 0) {
  long long t0 = monoMs();
  RunResult r = runSim({"gpmc", "-m", "reg", "-r", "1"});
  std::ostringstream out;
  out << "next: exit " << r.exitCode << ", quick " << (monoMs() - t0 < 5000) << ", read "
      << contains(r.out, "\n0000: ") << ", recovered "
      << contains(r.out, "recovered semaphore diagGPMCSem from process " + std::to_string(holder) +
                             ", which ended while holding it\n") << "\n" << value() << "printed:\n" << r.out;
  return out.str();
}

// The report up to what the next process printed.
std::string facts(const std::string& report) { return report.substr(0, report.find("printed:\n")); }
}  // namespace

// Killed, the holder is recovered by the next process, also while the dead
// holder waits for its parent to collect it.
TEST(NamedSemaphores, KilledHolderIsRecoveredByTheNextProcess) {
  for (bool collected : {true, false}) {
    RUN_ISOLATED(report, [collected] {
      Child h = holdAndEnd(SIGKILL);
      if (collected) waitChild(h.pid, 10000);
      usleep(100000);
      std::string r = value();  // it died holding the semaphore
      r += nextFpgaAccess(h.pid);
      waitChild(h.pid, 5000);
      return r;
    });
    EXPECT_EQ(facts(report), "value 0\nnext: exit 0, quick 1, read 1, recovered 1\nvalue 1\n") << report;
  }
}

// The interrupted holder's lock file is cut short under it: it goes on (no
// bus fault) and still gives the semaphore back on its way out.
TEST(NamedSemaphores, InterruptedOrExitingHolderReleasesOnItsWayOut) {
  RUN_ISOLATED(report, [] {
    int status = waitChild(startHelper("exit-holding").pid, 30000);
    std::string r = "exited " + std::to_string(WIFEXITED(status) ? WEXITSTATUS(status) : -1) + ", " + value();
    status = waitChild(holdAndEnd(SIGINT, [] { truncate("/dev/shm/diagGPMCSem.lock", 0); }).pid, 10000);
    r += "ended by signal " + std::to_string(WIFSIGNALED(status) ? WTERMSIG(status) : 0) + ", " + value();
    r += nextFpgaAccess();
    return r;
  });
  EXPECT_EQ(facts(report), "exited 0, value 1\nended by signal 2, value 1\n"
                           "next: exit 0, quick 1, read 1, recovered 0\nvalue 1\n") << report;
  EXPECT_FALSE(contains(report, "diagGPMCSem.lock")) << "the holder gave its lock file back whole";
}

// Ctrl-C at the prompt ends a command that waits for the semaphore, or for its
// lock file, and the shell's next access takes it as soon as it is free: the
// stopped wait left nothing of itself behind.
TEST(NamedSemaphores, AWaitStoppedAtThePromptLeavesTheShellFree) {
  RUN_ISOLATED(report, [] {
    runSim({"gpmc", "-m", "reg", "-r", "1"});  // the semaphore and its lock file are made
    sem_t* sem = sem_open("diagGPMCSem", 0);
    int lock = open("/dev/shm/diagGPMCSem.lock", O_RDWR);
    std::string r;
    for (bool byLockFile : {false, true}) {
      if (sem == SEM_FAILED || (byLockFile ? flock(lock, LOCK_EX) : sem_wait(sem)) != 0) return std::string("no hold");
      PtySession sh(programArgv(diagSimBin(), {}));
      r += sh.waitFor("diag> ") ? "" : "no prompt\n";
      sh.type("gpmc -m reg -r 1\r");
      if (!sh.waitFor("waiting for semaphore diagGPMCSem", 15000)) r += "no wait said:\n" + sh.since();
      sh.mark();
      sh.send("\x03");
      if (!sh.waitFor("diag> ") || sh.since().find("0000: ") != std::string::npos) r += "not stopped:\n" + sh.since();
      byLockFile ? flock(lock, LOCK_UN) : sem_post(sem);
      sh.mark();
      sh.type("gpmc -m reg -r 1\r");
      if (!sh.waitFor("\n0000: ")) r += "the next access:\n" + sh.since();
      sh.type("q\r");
      sh.waitExit();
    }
    return r;
  });
  EXPECT_EQ(report, "");
}

// A semaphore file of another build's layout (here twice this build's size,
// all zero: taken) is replaced rather than waited on.
TEST(NamedSemaphores, SemaphoreOfAnotherLayoutIsReplaced) {
  RUN_ISOLATED(report, [] {
    writeFile("/dev/shm/sem.diagGPMCSem", std::string(2 * sizeof(sem_t), '\0'));
    return nextFpgaAccess();
  });
  EXPECT_EQ(facts(report), "next: exit 0, quick 1, read 1, recovered 0\nvalue 1\n") << report;
}

// A stopping signal can land at any instruction of a take or a give; the
// semaphore must come out free every time.
TEST(NamedSemaphores, InterruptsAtAnyMomentNeverLeaveTheSemaphoreTaken) {
  RUN_ISOLATED(report, [] {
    std::ostringstream out;
    std::mt19937 rng(12345);
    int made = 0;
    for (int round = 0; round < 40; ++round) {
      Child h = startHelper("churn");
      std::string got;
      if (!waitForLine(h.out, "ready", 30000, &got)) return std::string("churn did not start");
      usleep(1000 + rng() % 4000);
      kill(h.pid, SIGINT);
      int status = waitChild(h.pid, 10000);
      close(h.out);
      // Interrupted before its first take, the helper has made no semaphore (-1): nothing is taken then either.
      int v = semValue("diagGPMCSem");
      made += v >= 0;
      if (!WIFSIGNALED(status) || WTERMSIG(status) != SIGINT || (v != 1 && v != -1))
        out << "round " << round << ": status " << status << " value " << v << "\n";
    }
    if (made < 20) out << "the semaphore was there after only " << made << " of 40 rounds\n";
    return out.str();
  });
  EXPECT_EQ(report, "");
}

// Made under a umask that closes files to everyone else, the semaphores and
// their lock files are still open to every user, so that a second user's
// processes share them.
TEST(NamedSemaphores, CreatedOpenToEveryUserWhateverTheUmask) {
  RUN_ISOLATED(report, [] {
    mode_t before = umask(077);
    runSim({"gpmc", "-m", "reg", "-r", "1"});
    runSim({"i2c", "-d", "mhEeprom", "-o", "0", "-r", "1"});
    umask(before);
    std::string out;
    for (const std::string& name : shmNames()) {
      struct stat st;
      if (stat(("/dev/shm/" + name).c_str(), &st) == 0) out += name + formatted(" %o\n", st.st_mode & 0777);
    }
    return out;
  });
  EXPECT_EQ(report, "diagGPMCSem.lock 666\ndiagSem.lock 666\nsem.diagGPMCSem 666\nsem.diagSem 666\n");
}

// A forked child has an open file of its own for the lock, so the parent's
// hold keeps it waiting like any other process.
TEST(NamedSemaphores, ForkedChildWaitsForItsParentsHold) {
  RUN_ISOLATED(report, [] {
    Child h = startHelper("fork");
    std::string got;
    waitForLine(h.out, "child took\n", 30000, &got);
    int status = waitChild(h.pid, 30000);
    close(h.out);
    return got + "exit " + std::to_string(WIFEXITED(status) ? WEXITSTATUS(status) : -1) + ", " + value();
  });
  EXPECT_EQ(report, "child trying\nparent gives\nchild took\nexit 0, value 1\n");
}

// Threads of one process share its lock on the lock file; the semaphore still
// passes between them one at a time.
TEST(NamedSemaphores, ThreadsOfOneProcessTakeItInTurn) {
  ProgramSem& s = testBoard().gpmcSem;
  std::atomic<int> inside{0}, most{0}, failed{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 500; ++i) {
        if (s.take() != SUCCESS) {
          ++failed;
          continue;
        }
        int now = ++inside;
        if (now > most) most = now;
        sched_yield();
        --inside;
        s.give();
      }
    });
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(failed, 0);
  EXPECT_EQ(most, 1);
  EXPECT_EQ(semValue("diagGPMCSem"), 1);
}

// In this process, with its own /dev/shm, where "diagSem" is not yet made, and
// an earlier process of the same number died while making it.
TEST(NamedSemaphores, ReentrantTakesGiveOnlyAtTheOutermost) {
  for (std::string f : {"sem.diagSem", "diagSem.lock"}) writeFile("/dev/shm/" + f + ".new" + std::to_string(getpid()), "");
  ProgramSem& s = testBoard().i2cSem;
  ASSERT_EQ(s.take(true), SUCCESS);
  ASSERT_EQ(s.take(true), SUCCESS);
  s.give();
  EXPECT_TRUE(s.held());
  EXPECT_EQ(semValue("diagSem"), 0);
  s.give();
  EXPECT_FALSE(s.held());
  EXPECT_EQ(semValue("diagSem"), 1);
  EXPECT_EQ(countOf(readFile("/proc/self/maps"), "/dev/shm/sem."), 1u);  // made, put in place, opened: one mapping
}

// Two processes write and read one register word at once, each its own values:
// every word read back is one that was written whole.
TEST(NamedSemaphores, TwoProcessesShareTheFpgaWordByWord) {
  constexpr int ROUNDS = 60;
  simctls({{"reset"}, {"set", "board", "signal"}});
  for (char who : {'a', 'b'}) {
    std::string script;
    for (int i = 0; i < ROUNDS; ++i)
      script += formatted("gpmc -m reg -w 1 -o 4 -d 0x%c%03x\ngpmc -m reg -r 1 -o 4 -s\n", who, i);
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
