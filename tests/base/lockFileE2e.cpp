// The lock files beside the named semaphores are open to every user, and
// another user's program may cut, grow, overwrite or replace them, or hold
// their lock: the next diag process repairs what is a file of ours, refuses
// anything else in one line naming the file, never writes through a link, and
// names the real holder of a lock it waits for.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <sstream>

#include "programs.h"
#include "semIsolation.h"
#include "testEnv.h"
#include "textUtil.h"

namespace {
const std::string LOCK = "/dev/shm/diagGPMCSem.lock";

// The size of a regular file, -1 for anything else.
long fileSize(const std::string& path) {
  struct stat st;
  return lstat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode) ? static_cast<long>(st.st_size) : -1;
}

// One FPGA word read after the damage: how it ended, whether it read the word,
// the lock file's size afterwards, and what it said of the file (the lines
// naming it, from the name on).
std::string accessAfter(const std::string& what, const std::function<void()>& damage) {
  damage();
  RunResult r = runSim({"gpmc", "-m", "reg", "-r", "1"}, "", 10000);
  std::ostringstream out;
  out << what << ": exit " << r.exitCode << ", read " << contains(r.out, "\n0000: ") << ", size " << fileSize(LOCK);
  for (const std::string& line : splitLines(r.out))
    if (contains(line, LOCK)) out << "\n  " << line.substr(line.find(LOCK) + LOCK.size());
  return out.str() + "\n";
}

void replaceBy(const std::function<void()>& make) {
  unlink(LOCK.c_str());
  make();
}
}  // namespace

TEST(LockFile, DamageIsRepairedAndWhatIsNotOursIsRefusedInOneLine) {
  const std::string target = testPath("not-ours");
  writeFile(target, "precious");
  RUN_ISOLATED(report, [target] {
    runSim({"gpmc", "-m", "reg", "-r", "1"});
    std::string r;
    r += accessAfter("cut", [] { truncate(LOCK.c_str(), 0); });
    r += accessAfter("grown", [] { writeFile(LOCK, std::string(100, '\xff')); });
    r += accessAfter("overwritten", [] { writeFile(LOCK, std::string("\x07\0\0\0\xff\xff\xff\xff", 8)); });
    r += accessAfter("taken by no one", [] { writeFile(LOCK, std::string("\x01\0\0\0\0\0\0\0", 8)); });
    r += accessAfter("giving", [] { writeFile(LOCK, std::string("\x03\0\0\0\x01\0\0\0", 8)); });  // an earlier build's
    r += accessAfter("directory", [] { replaceBy([] { mkdir(LOCK.c_str(), 0777); }); });
    rmdir(LOCK.c_str());
    // Replaced under a shell between two accesses: the one refused leaves the
    // shell free for the next, once the file is back.
    const std::string read = "gpmc -m reg -r 1\n";
    // The file made on the way is closed once published: no descriptor of the shell names it.
    RunResult shell = runSim({}, read + "system rm " + LOCK + "\nsystem mkdir " + LOCK + "\n" + read + "system rmdir " +
                                     LOCK + "\n" + read + "system ls -l /proc/$PPID/fd\n", 10000);
    if (shell.timedOut || countOf(shell.out, "is a directory") + countOf(shell.out, ".new") != 1 ||
        countOf(shell.out, "\n0000: ") != 2)
      r += "shell:\n" + shell.out;
    r += accessAfter("fifo", [] { replaceBy([] { mkfifo(LOCK.c_str(), 0666); }); });
    r += accessAfter("socket", [] { replaceBy([] { mknod(LOCK.c_str(), S_IFSOCK | 0666, 0); }); });
    r += accessAfter("dangling link", [] { replaceBy([] { symlink("/tmp/diag-lock-target", LOCK.c_str()); }); });
    r += accessAfter("link", [target] { replaceBy([target] { symlink(target.c_str(), LOCK.c_str()); }); });
    r += accessAfter("removed", [] { unlink(LOCK.c_str()); });
    // The semaphore's own file is refused the same way when it is not a regular file.
    RunResult sem = (unlink("/dev/shm/sem.diagGPMCSem"), mkdir("/dev/shm/sem.diagGPMCSem", 0777),
                     runSim({"gpmc", "-m", "reg", "-r", "1"}));
    rmdir("/dev/shm/sem.diagGPMCSem");
    r += contains(sem.out, "semaphore file /dev/shm/sem.diagGPMCSem is not a regular file; remove it") ? "" : sem.out;
    r += accessAfter("read-only", [] { mount(nullptr, "/dev/shm", nullptr, MS_REMOUNT | MS_RDONLY, nullptr); });
    return r + "dangling target " + std::to_string(fileSize("/tmp/diag-lock-target")) + "\n";
  });
  const std::string repaired = "\n   of semaphore diagGPMCSem, which another program had cut, grown or overwritten\n";
  const std::string notOurs = "; it is not a lock file of diag: remove it (as its owner or as root) and run diag again\n";
  const std::string notRegular = "   is not a regular file (a FIFO, a socket or a device)" + notOurs;
  EXPECT_EQ(report, "cut: exit 0, read 1, size 8" + repaired + "grown: exit 0, read 1, size 8" + repaired +
                        "overwritten: exit 0, read 1, size 8" + repaired + "taken by no one: exit 0, read 1, size 8" +
                        repaired + "giving: exit 0, read 1, size 8\ndirectory: exit 0, read 0, size -1\n" +
                        "   is a directory" + notOurs + "fifo: exit 0, read 0, size -1\n" + notRegular +
                        "socket: exit 0, read 0, size -1\n" + notRegular +
                        "dangling link: exit 0, read 0, size -1\n   is a symbolic link" + notOurs +
                        "link: exit 0, read 0, size -1\n   is a symbolic link" + notOurs +
                        "removed: exit 0, read 1, size 8\nread-only: exit 0, read 0, size 8\n   is on a read-only file "
                        "system; diag needs it mounted read-write\ndangling target -1\n");
  EXPECT_EQ(readFile(target), "precious");
}

// A read started by argv that waits for the lock this process holds: what it said.
std::string waitReport(const std::vector<std::string>& argv) {
  int fd = open(LOCK.c_str(), O_RDONLY);
  if (fd < 0 || flock(fd, LOCK_EX) != 0) return "cannot lock";
  Child c = spawn(argv);
  std::string got;
  bool said = waitForLine(c.out, "its lock file", 15000, &got);  // named or not
  usleep(100000);  // a waiter tells once, however long it goes on waiting after
  // It read the kernel's table of locks to name the holder, and keeps no descriptor of it.
  std::error_code ec;
  std::string kept;
  for (const auto& e : std::filesystem::directory_iterator("/proc/" + std::to_string(c.pid) + "/fd", ec))
    if (std::filesystem::read_symlink(e.path(), ec) == "/proc/locks") kept = "\n/proc/locks kept open";
  flock(fd, LOCK_UN);
  waitForLine(c.out, "\n0000: ", 10000, &got);
  int status = waitChild(c.pid, 10000);
  close(c.out);
  close(fd);
  std::string line = got.substr(got.find("waiting"), got.find('\n', got.find("waiting")) - got.find("waiting"));
  return std::string(said ? "" : "nothing said\n") + "holder " + std::to_string(getpid()) + "\n" + line + "\nexit " +
         std::to_string(WIFEXITED(status) ? WEXITSTATUS(status) : -1) + ", read " +
         std::to_string(contains(got, "\n0000: ")) + ", told " + std::to_string(countOf(got, "waiting for")) + kept;
}

// Anyone who can open the lock file can hold its lock; the process that waits
// names that holder, from the kernel's table of locks, not the last diag
// process that the file's record names. A waiter in a pid namespace of its own
// (a container) cannot see the holder, and says so.
TEST(LockFile, AWaitNamesTheRealHolder) {
  const std::string unnamed = " is held by a process that cannot be named here\nexit 0, read 1, told 1";
  RUN_ISOLATED(report, [] {
    runSim({"gpmc", "-m", "reg", "-r", "1"});
    std::vector<std::string> argv = programArgv(diagSimBin(), {"gpmc", "-m", "reg", "-r", "1"}), contained = argv;
    contained.insert(contained.begin(), {"/usr/bin/unshare", "--pid", "--fork", "--mount-proc"});
    bool canContain = system("/usr/bin/unshare --pid --fork --mount-proc true 2>/dev/null") == 0;
    return waitReport(argv) + "\n--\n" + (canContain ? waitReport(contained) : "no pid namespace here");
  });
  const std::string direct = report.substr(0, report.find("\n--\n")), contained = report.substr(direct.size() + 4);
  if (contained != "no pid namespace here") {
    EXPECT_TRUE(contained.ends_with("waiting for semaphore diagGPMCSem: its lock file " + LOCK + unnamed)) << contained;
  }
  const std::string holder = direct.substr(0, direct.find('\n') + 1);
  if (access("/proc/locks", R_OK) != 0) {
    EXPECT_EQ(direct, holder + "waiting for semaphore diagGPMCSem: its lock file " + LOCK + unnamed);
    return;
  }
  // Named with its command name, which depends on how the tests run (under an emulator, say).
  const std::string byPid = "waiting for semaphore diagGPMCSem: process " + holder.substr(7, holder.size() - 8) + " (";
  EXPECT_TRUE(contains(direct, holder + byPid)) << direct;
  EXPECT_TRUE(direct.ends_with(") holds its lock file " + LOCK + "\nexit 0, read 1, told 1")) << direct;
}
