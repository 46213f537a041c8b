// The simulator's state file: the default one is in /tmp, shared by every
// user, and any program of the user's may cut it short. A file that is not a
// regular file of this user's is refused and never written; one cut, grown or
// overwritten under a running process ends that process with one line, never
// a bus fault.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "programs.h"
#include "ptySession.h"
#include "simStore.h"
#include "testEnv.h"
#include "textUtil.h"

namespace {
std::vector<std::string> withState(const std::string& path, const std::string& bin, std::vector<std::string> args) {
  std::vector<std::string> argv = {"/usr/bin/env", "DIAG_SIM_STATE=" + path};
  for (const std::string& a : programArgv(bin, args)) argv.push_back(a);
  return argv;
}

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
      RunResult r = runProgram(withState(path, bin, {bin == simctlBin() ? "show" : "version"}));
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
  PtySession sh(withState(path, diagSimBin(), {}));
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
