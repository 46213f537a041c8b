#include "semIsolation.h"

#include <fcntl.h>
#include <poll.h>
#include <semaphore.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "programs.h"
#include "testEnv.h"

namespace {
constexpr char SKIP = '\x01';
}  // namespace

// Read once, before the test program enters a mount namespace of its own: inside
// a chroot, the link read after that names the program by its path outside the chroot.
std::string selfPath() {
  static const std::string path = [] {
    char buf[4096];
    ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
    return n > 0 ? std::string(buf, static_cast<size_t>(n)) : std::string();
  }();
  return path;
}

long long monoMs() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

Isolated runIsolated(const std::function<std::string()>& fn, int timeoutMs) {
  std::string path = testPath("isolated.report");
  remove(path.c_str());
  pid_t pid = fork();
  if (pid == 0) {
    std::string why = usePrivateShm();
    writeFile(path, why.empty() ? fn() : SKIP + why);
    _exit(0);
  }
  if (waitChild(pid, timeoutMs) == -1) return {"(isolated run timed out)", ""};
  std::string got = readFile(path);
  if (!got.empty() && got[0] == SKIP) return {"", "no private /dev/shm here (" + got.substr(1) + ")"};
  return {got, ""};
}

Child spawn(const std::vector<std::string>& argv, int in) {
  Child c;
  int p[2];
  if (pipe(p) != 0) return c;
  c.pid = fork();
  if (c.pid == 0) {
    if (in >= 0) dup2(in, 0);
    dup2(p[1], 1);
    dup2(p[1], 2);
    close(p[0]);
    close(p[1]);
    execProgram(argv);
  }
  close(p[1]);
  c.out = p[0];
  return c;
}

Child startHelper(const std::string& mode) {
  EnvSet asked("DIAG_SEM_HELPER", mode);
  return spawn(programArgv(selfPath(), {}));
}

bool waitForLine(int fd, const std::string& text, int timeoutMs, std::string* got) {
  long long deadline = monoMs() + timeoutMs;
  char buf[256];
  while (got->find(text) == std::string::npos) {
    struct pollfd pf = {fd, POLLIN, 0};
    long long left = deadline - monoMs();
    if (left <= 0 || poll(&pf, 1, static_cast<int>(left)) <= 0) return false;
    ssize_t n = read(fd, buf, sizeof buf);
    if (n <= 0) return false;
    got->append(buf, static_cast<size_t>(n));
  }
  return true;
}

int waitChild(pid_t pid, int timeoutMs, bool killLate) {
  int status = 0;
  if (waitUntil([&] { return waitpid(pid, &status, WNOHANG) != 0; }, timeoutMs, 10)) return status;
  if (killLate) {
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
  }
  return -1;
}

int semValue(const char* name) {
  sem_t* s = sem_open(name, 0);
  if (s == SEM_FAILED) return -1;
  int v = -1;
  sem_getvalue(s, &v);
  sem_close(s);
  return v;
}

std::set<std::string> shmNames() {
  std::set<std::string> names;
  std::error_code ec;  // no /dev/shm: no names
  for (const auto& e : std::filesystem::directory_iterator("/dev/shm", ec))
    if (e.path().filename().string()[0] != '.') names.insert(e.path().filename().string());
  return names;
}
