// "log all on" sends every later message to the system log: received here on
// a real /dev/log socket, in a private mount namespace so that the machine's
// own /dev is untouched.
#include <gtest/gtest.h>

#include <poll.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <regex>
#include <string>

#include "programs.h"
#include "testEnv.h"

namespace {
// In the child: /dev becomes an empty tmpfs holding only our log socket, /dev/null and /dev/shm.
int bindDevLog() {
  if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
      mount("none", "/dev", "tmpfs", 0, nullptr) != 0 || mkdir("/dev/shm", 01777) != 0 ||
      mknod("/dev/null", S_IFCHR | 0666, makedev(1, 3)) != 0)
    return -1;
  int s = socket(AF_UNIX, SOCK_DGRAM, 0);
  struct sockaddr_un addr = {};
  addr.sun_family = AF_UNIX;
  snprintf(addr.sun_path, sizeof addr.sun_path, "/dev/log");
  if (s < 0 || bind(s, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0) return -1;
  return s;
}

// Runs the script with /dev/log bound and writes every datagram received, one per line, to out.
void captureSyslog(const std::string& script, const std::string& out) {
  int s = bindDevLog();
  if (s < 0) _exit(3);
  RunResult r = runSim({"file", script});
  std::string got;
  char buf[2048];
  struct pollfd p = {s, POLLIN, 0};
  while (poll(&p, 1, 200) > 0) {
    ssize_t n = recv(s, buf, sizeof buf, 0);
    if (n <= 0) break;
    got.append(buf, static_cast<size_t>(n));
    if (got.back() != '\n') got += '\n';
  }
  writeFile(out, got);
  writeFile(out + ".term", r.out);
  _exit(r.exitCode == 0 ? 0 : 4);
}
}  // namespace

TEST(Syslog, LogAllOnSendsLaterMessagesWithTimeStamp) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root for a private mount namespace";
  writeFile(testPath("sl.txt"), "ec -cd Time\ngpmc -m reg -o 0x100000 -r 1\ni2c -d fctl -o 0x90 -r 4\nlog all on\n"
                                "ec -cd Scan\nlog all off\nec -cd SD\n");
  pid_t pid = fork();
  if (pid == 0) captureSyslog(testPath("sl.txt"), testPath("sl.out"));
  int status = 0;
  waitpid(pid, &status, 0);
  ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "namespace or run failed";

  std::string got = readFile(testPath("sl.out"));
  // Priority 141: facility local1, severity notice; identity diag with its pid;
  // the text after the seconds.microseconds prefix.
  std::regex scan(R"(<141>.{15} diag\[[0-9]+\]: [0-9]{2}\.[0-9]{1,6} !1729\n)");
  EXPECT_TRUE(std::regex_search(got, scan)) << got;
  // The log command's own traces: its exit after switching on, its category line before switching off.
  EXPECT_NE(got.find("function cmdLog - exit"), std::string::npos);
  EXPECT_NE(got.find("category= 3, on= 0"), std::string::npos);
  // Nothing from before "log all on" (!172A, a failed FPGA read, a refused I2C one) or after "log all off" (!1723).
  for (const char* absent : {"category= 3, on= 1", "!172A", "failed to read device", "cannot carry", "!1723"})
    EXPECT_EQ(got.find(absent), std::string::npos) << absent;
  // The terminal still shows everything.
  for (const char* code : {"!172A\n", "failed to read device 4", "cannot carry", "!1729\n", "!1723\n"})
    EXPECT_NE(readFile(testPath("sl.out.term")).find(code), std::string::npos) << code;
}
