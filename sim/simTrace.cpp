#include "simTrace.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>

namespace sim {

namespace {
// How long a line may wait for a FIFO's reader to make room. Lines are written
// under the state lock, which every other process waits for.
constexpr int STALL_MS = 1000;

std::mutex traceMutex;
bool opened = false;
int fd = -1;
std::atomic<bool> live{false};  // fd is open: read without the mutex
std::string path;

void dropTrace(const char* why) {
  fprintf(stderr, "diag-sim: cannot write the trace to %s (%s); going on without it\n", path.c_str(), why);
  if (fd >= 0) ::close(fd);
  fd = -1;
  live = false;
}

// One write per line, so that lines of several processes interleave whole.
// A reader that went away gives EPIPE here rather than ending the process.
bool writeLine(const char* line, size_t n) {
  sigset_t pipeSig, old;
  sigemptyset(&pipeSig);
  sigaddset(&pipeSig, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &pipeSig, &old);
  ssize_t w = ::write(fd, line, n);
  if (w < 0 && errno == EAGAIN) {
    struct pollfd p = {fd, POLLOUT, 0};
    if (poll(&p, 1, STALL_MS) > 0) w = ::write(fd, line, n);
    if (w < 0) errno = EAGAIN;
  }
  int err = errno;
  if (w < 0 && err == EPIPE) {
    struct timespec now = {0, 0};
    sigtimedwait(&pipeSig, nullptr, &now);
  }
  pthread_sigmask(SIG_SETMASK, &old, nullptr);
  if (w == static_cast<ssize_t>(n)) return true;
  dropTrace(err == EAGAIN ? "its reader has read nothing for a second"
            : err == EPIPE ? "its reader has gone"
                           : strerror(err));
  return false;
}
}  // namespace

void traceOpen() {
  std::lock_guard<std::mutex> g(traceMutex);
  if (opened) return;
  opened = true;
  const char* p = getenv("DIAG_SIM_TRACE");
  if (!p || !*p) return;
  path = p;
  // Without blocking: a FIFO that nothing reads fails at once instead of stopping the process.
  fd = ::open(p, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK, 0666);
  if (fd < 0) dropTrace(errno == ENXIO ? "a FIFO that nothing reads" : strerror(errno));
  live = fd >= 0;
}

bool tracing() { return live; }

namespace {
// Apart from trace(), so that a call while nothing is traced costs no line buffer.
void writeFormatted(const char* fmt, va_list ap) {
  std::lock_guard<std::mutex> g(traceMutex);
  if (fd < 0) return;
  char line[1024];
  int n = vsnprintf(line, sizeof line - 1, fmt, ap);
  if (n < 0) return;
  if (n > static_cast<int>(sizeof line) - 2) n = sizeof line - 2;
  line[n++] = '\n';
  writeLine(line, static_cast<size_t>(n));
}
}  // namespace

void trace(const char* fmt, ...) {
  if (!live) return;
  va_list ap;
  va_start(ap, fmt);
  writeFormatted(fmt, ap);
  va_end(ap);
}

}  // namespace sim
