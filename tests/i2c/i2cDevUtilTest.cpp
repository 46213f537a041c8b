// The scoped accessor: path, open and close under "diagSem", and what a
// failed lookup does to other processes and to this one.
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include <gtest/gtest.h>

#include "diagMutex.h"
#include "i2cDevUtil.h"
#include "i2cTestUtil.h"
#include "programs.h"

namespace {
pid_t spawn(const std::vector<std::string>& argv, const std::string& outFile) {
  pid_t pid = fork();
  if (pid == 0) {
    int fd = open(outFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    dup2(fd, 1);
    dup2(fd, 2);
    std::vector<char*> a;
    for (const std::string& s : argv) a.push_back(const_cast<char*>(s.c_str()));
    a.push_back(nullptr);
    execv(a[0], a.data());
    _exit(127);
  }
  return pid;
}

// True when the process ended within ms; its wait status in *status.
bool endsWithin(pid_t pid, int ms, int* status) {
  for (auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
       std::chrono::steady_clock::now() < end; std::this_thread::sleep_for(std::chrono::milliseconds(20)))
    if (waitpid(pid, status, WNOHANG) == pid) return true;
  return false;
}

std::string selfPath() {
  char buf[4096];
  ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
  return std::string(buf, n > 0 ? static_cast<size_t>(n) : 0);
}

constexpr int NEEDS_ROOT = 77;

// Runs the scenario in a fresh copy of this test program with a /dev/shm of
// its own, so that holding "diagSem" disturbs no other test or program.
void runScenario(const char* which) {
  pid_t pid = fork();
  if (pid == 0) {
    if (!usePrivateShm().empty()) _exit(NEEDS_ROOT);
    setenv("DIAG_LOCK_SCENARIO", which, 1);
    std::vector<std::string> argv = programArgv(selfPath(), {"--gtest_also_run_disabled_tests", "--gtest_filter=I2cAccessorLockScenario.DISABLED_Run"});
    std::vector<char*> a;
    for (const std::string& s : argv) a.push_back(const_cast<char*>(s.c_str()));
    a.push_back(nullptr);
    execv(a[0], a.data());
    _exit(127);
  }
  int status = 0;
  if (!endsWithin(pid, 240000, &status)) {
    kill(pid, SIGKILL);
    waitpid(pid, &status, 0);
    FAIL() << "scenario did not end";
  }
  ASSERT_TRUE(WIFEXITED(status));
  if (WEXITSTATUS(status) == NEEDS_ROOT) GTEST_SKIP() << "a private /dev/shm needs root (mount namespace)";
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

// Another diag process that wants the fan controller.
pid_t otherDiag(const std::string& out) {
  return spawn(programArgv(diagSimBin(), {"i2c", "-d", "fctl", "-o", "0x99", "-r", "1"}), out);
}

void expectBlockedThenDone(pid_t other, const std::string& out, void (*release)()) {
  int status = 0;
  EXPECT_FALSE(endsWithin(other, 1500, &status)) << "the other process did not wait for diagSem";
  release();
  bool ended = endsWithin(other, 60000, &status);
  if (!ended) kill(other, SIGKILL);
  ASSERT_TRUE(ended);
  EXPECT_NE(readFile(out).find("0x4d"), std::string::npos) << readFile(out);
}

int holderPipe[2];
pid_t holder;
void endHolder() {
  close(holderPipe[1]);
  waitpid(holder, nullptr, 0);
}
void succeedHere() {
  I2cDevUtil good("fctl", false, false);  // this process holds diagSem already: no wait
  EXPECT_EQ(good.stat(), SUCCESS);
}
}  // namespace

TEST(I2cAccessor, SelectsThePathOpensAndClosesUnderTheSemaphore) {
  resetSim();
  I2cDevMap::getI2cDevMap();
  sem_t* sem = nullptr;
  ASSERT_EQ(getMutx(&sem), SUCCESS);
  Trace t;
  kernel().resetCounts();
  I2cDev* dev = nullptr;
  {
    I2cDevUtil u("fpfpga", __FILE__, __LINE__, __func__, true, false);
    ASSERT_EQ(u.stat(), SUCCESS);
    EXPECT_TRUE(semHeldHere(sem));
    dev = u.getItr()->second;
    EXPECT_GT(dev->adapterFD, 0);
    // Per level: the revision file (open, read, close) and the control byte (open, address, write, close);
    // then the device's open and address.
    Kernel::Counts c = kernel().counts();
    EXPECT_EQ(c.open, 5u);
    EXPECT_EQ(c.read, 2u);
    EXPECT_EQ(c.write, 2u);
    EXPECT_EQ(c.ioctl, 3u);
    EXPECT_EQ(c.close, 4u);
  }
  EXPECT_FALSE(semHeldHere(sem));
  EXPECT_EQ(dev->adapterFD, 0);
  std::vector<std::string> w;
  for (const std::string& l : t.lines())
    if (l.rfind("i2c-2 ", 0) == 0) w.push_back(l);
  ASSERT_EQ(w.size(), 5u);
  EXPECT_EQ(w[1], "i2c-2 0x71 write 08");
  EXPECT_EQ(w[3], "i2c-2 0x72 write 02");
  EXPECT_EQ(w[4], "i2c-2 slave_force 0x40");
}

TEST(I2cAccessorLock, FailedLookupKeepsOthersWaitingUntilThisProcessSucceeds) { runScenario("succeed"); }
TEST(I2cAccessorLock, FailedLookupKeepsOthersWaitingUntilThisProcessEnds) { runScenario("end"); }

// Not a test of its own: the body of the lock tests above, run in their re-exec.
TEST(I2cAccessorLockScenario, DISABLED_Run) {
  const char* which = getenv("DIAG_LOCK_SCENARIO");
  if (!which) GTEST_SKIP() << "part of the I2cAccessorLock tests, run there in a private /dev/shm";
  std::string out = testPath("other.out");
  if (std::string(which) == "succeed") {
    I2cDevUtil bad("nosuch", false, false);
    EXPECT_EQ(bad.stat(), ENTRY_NOT_FOUND);
    sem_t* sem = nullptr;
    ASSERT_EQ(getMutx(&sem), SUCCESS);
    EXPECT_TRUE(semHeldHere(sem));  // still held after the failed lookup
    expectBlockedThenDone(otherDiag(out), out, succeedHere);
    EXPECT_FALSE(semHeldHere(sem));
    return;
  }
  int ready[2];
  ASSERT_EQ(pipe2(holderPipe, O_CLOEXEC), 0);  // the other program must not keep them open
  ASSERT_EQ(pipe2(ready, O_CLOEXEC), 0);
  holder = fork();
  if (holder == 0) {  // fails a lookup, says so, then waits to be told to end
    close(holderPipe[1]);
    I2cDevUtil bad("nosuch", false, false);
    char c = bad.stat() == ENTRY_NOT_FOUND ? 'y' : 'n';
    if (write(ready[1], &c, 1) != 1) _exit(2);
    while (read(holderPipe[0], &c, 1) > 0) {
    }
    exit(0);  // a process that ends gives back what it holds
  }
  close(holderPipe[0]);
  close(ready[1]);
  char c = 0;
  ASSERT_EQ(read(ready[0], &c, 1), 1);
  ASSERT_EQ(c, 'y');
  expectBlockedThenDone(otherDiag(out), out, endHolder);
}
