#pragma once
#include <sys/types.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

// The named semaphores are system-wide. A test that holds, leaks or kills a
// holder runs in a child process with a /dev/shm of its own (a private mount
// namespace with a fresh tmpfs), which the programs it starts share, so that
// other tests running at the same time are not touched.
struct Isolated {
  std::string report;  // what the function returned
  std::string skipReason;  // set when this machine cannot give a private /dev/shm
};
Isolated runIsolated(const std::function<std::string()>& fn, int timeoutMs = 120000);

// Runs the function isolated; its report is named by the first argument.
#define RUN_ISOLATED(report, ...)                                            \
  Isolated isolated_ = runIsolated(__VA_ARGS__);                             \
  if (!isolated_.skipReason.empty()) GTEST_SKIP() << isolated_.skipReason; \
  const std::string& report = isolated_.report

// A started program with its standard output and error on a pipe (its input
// from the file in, when one is given).
struct Child {
  pid_t pid = -1;
  int out = -1;
};
Child spawn(const std::vector<std::string>& argv, int in = -1);
// The test program itself started as a small semaphore user (see semHelper.cpp).
Child startHelper(const std::string& mode);
// The path of the running test program.
std::string selfPath();
// Waits for a line containing text on fd; the lines read so far go to got.
bool waitForLine(int fd, const std::string& text, int timeoutMs, std::string* got);
// Waits for a child to end within timeoutMs; its wait status, or -1 (killed
// then, unless told not to).
int waitChild(pid_t pid, int timeoutMs, bool killLate = true);
// The names in /dev/shm but the hidden ones, in order.
std::set<std::string> shmNames();
// The value of a named semaphore as a fresh opener sees it; -1 when it does not exist.
int semValue(const char* name);
long long monoMs();
