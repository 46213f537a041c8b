// The scoped accessor: path, open and close under "diagSem", and what a
// failed lookup does to other processes and to this one.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <tuple>

#include "diagMutex.h"
#include "i2cDevUtil.h"
#include "i2cTestUtil.h"
#include "programs.h"
#include "ptySession.h"
#include "semIsolation.h"
#include "textUtil.h"

TEST(I2cAccessor, SelectsThePathOpensAndClosesUnderTheSemaphore) {
  resetSim();
  I2cDevMap::getI2cDevMap();
  sem_t* sem = nullptr;
  ASSERT_EQ(getMutx(&sem), SUCCESS);
  kernel().resetCounts();
  Trace t;
  I2cDev* dev = nullptr;
  {
    I2cDevUtil u("fpfpga", true, false);
    ASSERT_EQ(u.stat(), SUCCESS);
    EXPECT_TRUE(semHeldHere(sem));
    dev = u.getItr()->second;
    ASSERT_GE(dev->adapterFD.value_or(-1), 0);
    // One adapter descriptor for the whole access; per level the revision file
    // (open, read, close) and the control byte (address, write, read back);
    // then the device's address.
    Kernel::Counts c = kernel().counts();
    EXPECT_EQ(std::tuple(c.open, c.read, c.write, c.ioctl, c.close), std::tuple(3u, 4u, 2u, 3u, 2u));
  }
  EXPECT_EQ(t.grep("open /dev/i2c-2").size(), 1u);
  EXPECT_FALSE(semHeldHere(sem));
  EXPECT_FALSE(dev->adapterFD);
}

// Whatever fails, the accessor gives everything back before it returns: the
// semaphore, and the adapter it opened.
TEST(I2cAccessor, AFailedAcquisitionHoldsNothing) {
  resetSim();
  I2cDevMap::getI2cDevMap();
  sem_t* sem = nullptr;
  ASSERT_EQ(getMutx(&sem), SUCCESS);
  const struct { const char* name; std::vector<std::string> fault; E_STATUS st; } cases[] = {
      {"nosuch", {}, ENTRY_NOT_FOUND},
      {"fctl", {"kernel", "fail", "open", "i2c-2", "ENODEV"}, FAILURE},
      {"fpfpga", {"i2c", "nack", "fpsw", "on"}, FAILURE},
      {"fctl", {"i2c", "ignore-ctl", "hostsw", "on"}, FAILURE},
      {"mrtmp2", {"kernel", "fail", "ioctl", "i2c-2", "EBUSY", "0x706", "after", "1"}, FAILURE},
  };
  for (const auto& c : cases) {
    resetSim();
    simctl({"kernel", "clear"});
    if (!c.fault.empty()) simctl(c.fault);
    Trace t;
    I2cDev* dev = I2cDevMap::getI2cDevMap()->map.count(c.name) ? I2cDevMap::getI2cDevMap()->map.at(c.name) : nullptr;
    captured([&] { EXPECT_EQ(I2cDevUtil(c.name, false, false).stat(), c.st) << c.name; });
    EXPECT_FALSE(semHeldHere(sem)) << c.name;
    EXPECT_EQ(semValue("diagSem"), 1) << c.name;
    if (dev) EXPECT_FALSE(dev->adapterFD) << c.name;
    const std::vector<std::string> lines = t.lines();
    for (const std::string& open : t.grep("open /dev/i2c-2 O_RDWR -> fd ")) {
      std::string closed = "close fd " + open.substr(open.rfind(' ') + 1);  // a successful close, maybe not the only one
      EXPECT_NE(std::find(lines.begin(), lines.end(), closed), lines.end()) << c.name;
    }
  }
  simctl({"kernel", "clear"});
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

// The shell waits at its prompt after an I2C command failed (the adapter
// could not be opened): another diag gets the fan controller at once.
TEST(I2cAccessor, AnIdleShellKeepsNoOtherProcessWaiting) {
  resetSim();
  simctl({"kernel", "fail", "open", "i2c-2", "ENODEV"});
  PtySession shell(programArgv(diagSimBin(), {}));
  ASSERT_TRUE(shell.waitFor("diag> "));
  shell.mark();
  shell.type(std::string("i2c -d fctl -o 0x99 -r 1") + PtySession::ENTER);
  ASSERT_TRUE(shell.waitFor("No such device (19)"));
  ASSERT_TRUE(shell.waitFor("diag> "));
  simctl({"kernel", "clear"});
  RunResult other = runSim({"i2c", "-d", "fctl", "-o", "0x99", "-r", "1"}, "", 20000);
  EXPECT_FALSE(other.timedOut) << "the other process waited for the idle shell";
  EXPECT_EQ(other.out, "0x4d\n");
  shell.type(std::string("q") + PtySession::ENTER);
  EXPECT_EQ(shell.waitExit(), 0);
}
