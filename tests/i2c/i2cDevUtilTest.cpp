// The scoped accessor: path, open and close under "diagSem", and what a
// failed lookup does to other processes and to this one.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <tuple>

#include "diagMutex.h"
#include "i2cDevUtil.h"
#include "i2cTestUtil.h"
#include "programs.h"
#include "semIsolation.h"
#include "textUtil.h"

TEST(I2cAccessor, SelectsThePathOpensAndClosesUnderTheSemaphore) {
  resetSim();
  I2cDevMap::getI2cDevMap();
  sem_t* sem = nullptr;
  ASSERT_EQ(getMutx(&sem), SUCCESS);
  kernel().resetCounts();
  I2cDev* dev = nullptr;
  {
    I2cDevUtil u("fpfpga", true, false);
    ASSERT_EQ(u.stat(), SUCCESS);
    EXPECT_TRUE(semHeldHere(sem));
    dev = u.getItr()->second;
    ASSERT_GE(dev->adapterFD.value_or(-1), 0);
    // Per level: the revision file (open, read, close) and the control byte (open, address, write, close);
    // then the device's open and address.
    Kernel::Counts c = kernel().counts();
    EXPECT_EQ(std::tuple(c.open, c.read, c.write, c.ioctl, c.close), std::tuple(5u, 2u, 2u, 3u, 4u));
  }
  EXPECT_FALSE(semHeldHere(sem));
  EXPECT_FALSE(dev->adapterFD);
}

// Asked to, the accessor names the caller's file, line and function (as
// __func__ names it); else its own place.
TEST(I2cAccessor, AMissingDeviceIsReportedWhereTheCallerAskedForIt) {
  resetSim();
  testing::internal::CaptureStdout();
  int line = __LINE__ + 1;
  I2cDevUtil asked("nosuch", true, false);
  I2cDevUtil own("nosuch", false, false);
  std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(asked.stat(), ENTRY_NOT_FOUND);
  EXPECT_TRUE(contains(out, "file i2cDevUtilTest, line " + std::to_string(line) +
                                ", function TestBody - I2C device nosuch not found\n")) << out;
  EXPECT_TRUE(contains(out, "function reportMissing - I2C device nosuch not found\n")) << out;
  EXPECT_TRUE(contains(out, "file i2cDevUtil, line ")) << out;
}

namespace {
// The lock tests run in a fresh copy of this test program, to which main()
// gives a /dev/shm of its own: holding "diagSem" there disturbs no other test.
void runScenario(const char* which) {
  setenv("DIAG_LOCK_SCENARIO", which, 1);
  Child c = spawn(programArgv(selfPath(), {"--gtest_also_run_disabled_tests",
                                           "--gtest_filter=I2cAccessorLockScenario.DISABLED_Run"}));
  unsetenv("DIAG_LOCK_SCENARIO");
  std::string out;
  waitForLine(c.out, "suite ran.", 240000, &out);
  int status = waitChild(c.pid, 10000);
  close(c.out);
  if (out.find("share the system's /dev/shm") != std::string::npos) GTEST_SKIP() << "no private /dev/shm here";
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0 && out.find("[  PASSED  ]") != std::string::npos) << out;
}

// Another diag that wants the fan controller waits while diagSem is held here,
// and reads it once release() gives diagSem back.
void expectOtherWaitsFor(void (*release)()) {
  Child other = spawn(programArgv(diagSimBin(), {"i2c", "-d", "fctl", "-o", "0x99", "-r", "1"}));
  EXPECT_EQ(waitChild(other.pid, 1500, false), -1) << "the other process did not wait for diagSem";
  release();
  std::string got;
  EXPECT_TRUE(waitForLine(other.out, "0x4d", 60000, &got)) << got;
  waitChild(other.pid, 10000);
  close(other.out);
}

int toHolder[2];
pid_t holder;
}  // namespace

TEST(I2cAccessorLock, FailedLookupKeepsOthersWaitingUntilThisProcessSucceeds) { runScenario("succeed"); }
TEST(I2cAccessorLock, FailedLookupKeepsOthersWaitingUntilThisProcessEnds) { runScenario("end"); }

// Not a test of its own: the body of the lock tests above, run in their copy.
TEST(I2cAccessorLockScenario, DISABLED_Run) {
  const char* which = getenv("DIAG_LOCK_SCENARIO");
  if (!which) GTEST_SKIP() << "belongs to the I2cAccessorLock tests, which run it";
  if (std::string(which) == "succeed") {
    I2cDevUtil bad("nosuch", false, false);
    EXPECT_EQ(bad.stat(), ENTRY_NOT_FOUND);
    sem_t* sem = nullptr;
    ASSERT_EQ(getMutx(&sem), SUCCESS);
    EXPECT_TRUE(semHeldHere(sem));  // still held after the failed lookup
    expectOtherWaitsFor([] {
      I2cDevUtil good("fctl", false, false);  // this process holds diagSem already: no wait
      EXPECT_EQ(good.stat(), SUCCESS);
    });
    EXPECT_FALSE(semHeldHere(sem));
    return;
  }
  int ready[2];
  ASSERT_EQ(pipe2(toHolder, O_CLOEXEC), 0);  // the other program must not keep them open
  ASSERT_EQ(pipe2(ready, O_CLOEXEC), 0);
  holder = fork();
  if (holder == 0) {  // fails a lookup, says so, then waits to be told to end
    close(toHolder[1]);
    char c = I2cDevUtil("nosuch", false, false).stat() == ENTRY_NOT_FOUND ? 'y' : 'n';
    if (write(ready[1], &c, 1) != 1 || read(toHolder[0], &c, 1) < 0) _exit(2);
    exit(0);  // a process that ends gives back what it holds
  }
  close(toHolder[0]);
  close(ready[1]);
  char c = 0;
  ASSERT_TRUE(read(ready[0], &c, 1) == 1 && c == 'y');
  expectOtherWaitsFor([] {
    close(toHolder[1]);
    waitChild(holder, 10000);
  });
}
