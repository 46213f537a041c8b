// The simulator's state file: the default one is in /tmp, shared by every
// user, and any program of the user's may cut it short. A file that is not a
// regular file of this user's is refused and never written; one cut, grown or
// overwritten under a running process ends that process with one line, never
// a bus fault. Tests and fuzz targets may keep the instrument in memory instead.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "kernel.h"
#include "programs.h"
#include "ptySession.h"
#include "simStore.h"
#include "testEnv.h"
#include "textUtil.h"

namespace {
std::string refusal(const std::string& path, const std::string& why) {
  return "diag-sim: the simulator state " + path + " " + why +
         "; remove it, or name another file with DIAG_SIM_STATE\n";
}
}  // namespace

TEST(SimStore, AStateFileThatIsNotOursIsRefusedAndNeverWritten) {
  const std::string target = testPath("precious"), link = testPath("link.state"),
                    dangling = testPath("dangling.state"), fifo = testPath("fifo.state"),
                    dir = testPath("dir.state"), theirs = testPath("theirs.state");
  writeFile(target, "precious");
  symlink(target.c_str(), link.c_str());
  symlink(testPath("nowhere").c_str(), dangling.c_str());
  mkfifo(fifo.c_str(), 0666);
  mkdir(dir.c_str(), 0777);
  writeFile(theirs, "");
  const bool chowned = chown(theirs.c_str(), 65534, 65534) == 0;  // only root can give a file away
  const std::pair<std::string, std::string> cases[] = {
      {link, "is a symbolic link, which is not followed"}, {dangling, "is a symbolic link, which is not followed"},
      {fifo, "is not a regular file"}, {dir, "is a directory"}, {theirs, "belongs to another user"}};
  for (const auto& [path, why] : cases) {
    if (path == theirs && !chowned) continue;
    for (const std::string& bin : {diagSimBin(), simctlBin()}) {
      RunResult r = runProgram(programArgv(bin, {bin == simctlBin() ? "show" : "version"}, "DIAG_SIM_STATE=" + path));
      EXPECT_EQ(r.exitCode, 1) << path;
      EXPECT_TRUE(r.out.ends_with(refusal(path, why)) && countOf(r.out, "\n") <= 2) << r.out;
    }
  }
  EXPECT_EQ(readFile(target), "precious");
  EXPECT_FALSE(access(testPath("nowhere").c_str(), F_OK) == 0);
}

// Cut while the shell waits at its prompt: the next access finds it so.
TEST(SimStore, CutUnderARunningShellEndsItWithOneLine) {
  const std::string path = testPath("cut.state");
  PtySession sh(programArgv(diagSimBin(), {}, "DIAG_SIM_STATE=" + path));
  ASSERT_TRUE(sh.waitFor("diag> "));
  sh.type("gpmc -m reg -r 1\r");
  ASSERT_TRUE(sh.waitFor("0000: "));
  ASSERT_TRUE(sh.waitFor("diag> "));
  truncate(path.c_str(), 100);
  sh.mark();
  sh.type("gpmc -m reg -r 1\r");
  EXPECT_EQ(sh.waitExit(), 1) << sh.since();
  EXPECT_TRUE(contains(sh.since(), "diag-sim: the simulator state " + path +
                                       " was cut or grown by another program while in use; diag-simctl reset "
                                       "starts it afresh\r\n"))
      << sh.since();
}

// Cut in the middle of an access: the touch beyond the file's new end is a bus
// fault, which the simulator takes; the process ends with the same line when
// the access ends. (In a child; the file is put back for this process after.)
TEST(SimStore, CutInsideAnAccessEndsTheProcessNotByABusFault) {
  sim::SimStore& store = sim::SimStore::get();
  const std::string path = sim::statePath(), saved = readFile(path);
  EXPECT_EXIT(
      {
        truncate(path.c_str(), 0);
        volatile uint64_t seen = store.state().accesses;
        (void)seen;
        sim::SimLock lk;
      },
      testing::ExitedWithCode(1), "was cut or grown by another program while in use");
  writeFile(path, saved);
}

namespace {
// In a process of its own: the instrument in memory, checked; exits 0 when all holds, else 1 saying what did not.
[[noreturn]] void checkMemoryInstrument() {
  std::string wrong;
  auto expect = [&](bool ok, const char* what) { wrong += ok ? "" : std::string(what) + "; "; };
  expect(sim::useMemoryState(), "memory refused before any access");
  expect(contains(simctl({"show"}), "state memory\n"), "show names the memory");
  int fd = kernel().open("/dev/i2c-2", O_RDWR);
  unsigned char at[2] = {0, 0}, id[2] = {};
  expect(fd >= 0 && kernel().ioctlVal(fd, I2C_SLAVE_FORCE, 0x56) == 0 && kernel().write(fd, at, 2) == 2 &&
             kernel().read(fd, id, 2) == 2 && id[0] == 'Z' && id[1] == '9',
         "the main host EEPROM reads its identification");
  // Fan 1 spins up from standstill over a minute.
  simctls({{"i2c", "fan-settle", "60000"}, {"i2c", "fan-fail", "1", "on"}, {"i2c", "fan-fail", "1", "off"}});
  expect(contains(simctl({"i2c", "list"}), "rpm 0 3040"), "fan 1 stands at first");
  expect(sim::skipTime(60000000000ull), "skipping refused");
  expect(contains(simctl({"i2c", "list"}), "rpm 3040 3040"), "fan 1 at its speed a skipped minute later");
  expect(access(sim::statePath().c_str(), F_OK) != 0, "a state file was made");
  fputs(wrong.c_str(), stderr);
  exit(wrong.empty() ? 0 : 1);
}
}  // namespace

// The choice is made before the first access, so it is shown in a process of
// its own: the same models answer, no state file is made, and the clock moves
// on at once by what is skipped, as a fan spinning up shows. The file's clock
// is every process's, so skipping is refused there. The child is the test
// program run anew, since this process may already use the file; under an
// emulator, which the kernel cannot start by itself, a forked child, which is
// fresh where ctest runs each test in a process of its own.
TEST(SimStore, TheInMemoryInstrumentRunsTheModelsWithoutTheFile) {
  const std::string style = GTEST_FLAG_GET(death_test_style);
  GTEST_FLAG_SET(death_test_style, std::string(DIAG_EMULATOR).empty() ? "threadsafe" : "fast");
  EXPECT_EXIT(checkMemoryInstrument(), testing::ExitedWithCode(0), "");
  GTEST_FLAG_SET(death_test_style, style);
  EXPECT_TRUE(contains(simctl({"show"}), "state " + sim::statePath() + "\n"));
  EXPECT_FALSE(sim::useMemoryState());
  EXPECT_FALSE(sim::skipTime(1));
}
