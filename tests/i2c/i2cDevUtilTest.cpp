// The scoped accessor: path, open and close under "diagSem", and what a
// failed lookup does to other processes and to this one.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <tuple>

#include "programSem.h"
#include "i2cDevUtil.h"
#include "cmdRun.h"
#include "i2cTestUtil.h"
#include "programs.h"
#include "ptySession.h"
#include "semIsolation.h"
#include "textUtil.h"

using I2cAccessor = FreshBoard;

TEST_F(I2cAccessor, SelectsThePathOpensAndClosesUnderTheSemaphore) {
  testBoard().i2c.beginCommand();
  ProgramSem& sem = testBoard().i2cSem;
  kernel().resetCounts();
  Trace t;
  I2cDev* dev = nullptr;
  {
    I2cDevUtil u(testBoard().i2c, "fpfpga", true);
    ASSERT_EQ(u.stat(), SUCCESS);
    EXPECT_TRUE(sem.held());
    dev = u.getItr()->second;
    ASSERT_GE(dev->adapterFD.value_or(-1), 0);
    // One adapter descriptor for the whole access; the revision file once in
    // the command (open, read, close); per level the control byte written and
    // read back in one combined request; then the device's address.
    Kernel::Counts c = kernel().counts();
    EXPECT_EQ(std::tuple(c.open, c.read, c.write, c.ioctl, c.close), std::tuple(2u, 1u, 0u, 3u, 1u));
  }
  EXPECT_EQ(t.grep("open /dev/i2c-2").size(), 1u);
  EXPECT_FALSE(sem.held());
  EXPECT_FALSE(dev->adapterFD);
  I2cDevUtil outer(testBoard().i2c, "fctl", true);  // an accessor within another does not wait,
  EXPECT_EQ(I2cDevUtil(testBoard().i2c, "fpfpga", true).stat(), SUCCESS);
  EXPECT_TRUE(sem.held());  // and leaves the semaphore to the outer one
}

// A simple transaction of a fresh process (what a one-shot command does) is at
// most seven device requests: the adapter opened, asked once what it carries,
// the switch set and checked in one combined request, the chip addressed, its
// register written and read, the adapter closed.
TEST_F(I2cAccessor, ASimpleTransactionIsAtMostSevenDeviceRequests) {
  for (auto [name, reg, n] : {std::tuple{"commEeprom", std::string("\0\0", 2), 16}, {"fctl", std::string("\x90"), 2}}) {
    I2cDevMap fresh(testBoard().i2cSem);
    fresh.find(name);
    fresh.revision.rev();  // the registry and the revision file are not device requests
    kernel().resetCounts();
    {
      I2cDevUtil u(fresh, name, false);
      ASSERT_EQ(u.stat(), SUCCESS) << name;
      char buf[32] = {};
      int cnt = 0;
      if (!u.dev()->smbus) {
        EXPECT_EQ(u.dev()->wrBytes(reg, reg.size(), &cnt, 0), SUCCESS);
      }
      memcpy(buf, reg.data(), reg.size());
      EXPECT_EQ(u.dev()->rdBytes(buf, n, &cnt, 1, true, true), SUCCESS) << name;
    }
    EXPECT_LE(kernel().counts().total(), 7u) << name;
  }
}

// Whatever fails, the accessor gives everything back before it returns: the
// semaphore, and the adapter it opened, which no device of the path keeps.
TEST_F(I2cAccessor, AFailedAcquisitionHoldsNothing) {
  ProgramSem& sem = testBoard().i2cSem;
  const struct { const char* name; std::vector<std::string> fault; E_STATUS st; } cases[] = {
      {"nosuch", {}, ENTRY_NOT_FOUND},
      {"fctl", {"kernel", "fail", "open", "i2c-2", "ENODEV"}, FAILURE},
      {"fpfpga", {"i2c", "nack", "fpsw", "on"}, FAILURE},
      {"fctl", {"i2c", "ignore-ctl", "hostsw", "on"}, FAILURE},
      {"mrtmp2", {"kernel", "fail", "ioctl", "i2c-2", "EBUSY", "0x706"}, FAILURE},
  };
  for (const auto& c : cases) {
    simctls({{"reset"}, {"kernel", "clear"}});
    if (!c.fault.empty()) simctl(c.fault);
    Trace t;
    captured([&] { EXPECT_EQ(I2cDevUtil(testBoard().i2c, c.name, false).stat(), c.st) << c.name; });
    EXPECT_FALSE(sem.held()) << c.name;
    EXPECT_EQ(semValue("diagSem"), 1) << c.name;
    for (const auto& [name, d] : testBoard().i2c.devices()) EXPECT_FALSE(d->adapterFD) << c.name << " " << name;
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
TEST_F(I2cAccessor, AMissingDeviceIsReportedWhereTheCallerAskedForIt) {
  testing::internal::CaptureStdout();
  int line = __LINE__ + 1;
  I2cDevUtil asked(testBoard().i2c, "nosuch", true);
  I2cDevUtil own(testBoard().i2c, "nosuch", false);
  std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(asked.stat(), ENTRY_NOT_FOUND);
  EXPECT_TRUE(contains(out, "file i2cDevUtilTest, line " + std::to_string(line) +
                                ", function TestBody - I2C device nosuch not found\n")) << out;
  EXPECT_TRUE(holdsAll(out, {"function reportMissing - I2C device nosuch not found\n", "file i2cDevUtil, line "}));
}

// The shell waits at its prompt after an I2C command failed (the adapter
// could not be opened): another diag gets the fan controller at once.
TEST_F(I2cAccessor, AnIdleShellKeepsNoOtherProcessWaiting) {
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
