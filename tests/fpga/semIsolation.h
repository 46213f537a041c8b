#pragma once
#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

// The named semaphores are system-wide. A test that holds, leaks or kills a
// holder runs in a child process with a /dev/shm of its own (a private mount
// namespace with a fresh tmpfs), which the programs it starts share, so that
// other tests running at the same time are not touched.
struct Isolated {
  std::string report;  // what the function returned
  std::string skipReason;  // set when this machine cannot give a private /dev/shm
};
Isolated runIsolated(const std::function<std::string()>& fn, int timeoutMs = 120000);

// The test program itself started as a small semaphore user (see semHelper.cpp),
// with its standard output on a pipe.
struct Helper {
  pid_t pid = -1;
  int out = -1;
};
Helper startHelper(const std::string& mode);
// Waits for a line containing text on fd; the lines read so far go to got.
bool waitForLine(int fd, const std::string& text, int timeoutMs, std::string* got);
// Waits for a child to end within timeoutMs (killing it after); its wait status, or -1.
int waitChild(pid_t pid, int timeoutMs);
// The value of a named semaphore as a fresh opener sees it; -1 when it does not exist.
int semValue(const char* name);
long long monoMs();
