#include "lineSink.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {
// How long a line may wait for a FIFO's reader to make room. The simulator
// writes its lines under the state lock, which every other process waits for.
constexpr int STALL_MS = 1000;
}  // namespace

bool LineSink::open(const char* p, const char* whoText, const char* whatText, bool append) {
  path = p;
  who = whoText;
  what = whatText;
  // Without blocking: a FIFO that nothing reads fails at once instead of stopping the process.
  int flags = O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK | (append ? O_APPEND : O_TRUNC);
  fd = ::open(p, flags, 0666);
  if (fd < 0) {
    drop(errno == ENXIO ? "a FIFO that nothing reads" : strerror(errno));
    return false;
  }
  struct stat st;
  pipeLike = fstat(fd, &st) == 0 && (S_ISFIFO(st.st_mode) || S_ISSOCK(st.st_mode));
  return true;
}

void LineSink::drop(const char* why) {
  fprintf(stderr, "%s: cannot write %s to %s (%s); going on without it\n", who.c_str(), what.c_str(), path.c_str(), why);
  ::close(fd);  // a sink that never opened: -1, which close refuses and nothing more
  fd = -1;
}

// A reader that went away gives EPIPE here rather than ending the process: for
// a FIFO or a socket the signal is held back around the write and taken.
bool LineSink::put(const char* line, size_t n) {
  if (fd < 0) return false;
  if (!pipeLike) {
    ssize_t w = ::write(fd, line, n);
    if (w == static_cast<ssize_t>(n)) return true;
    drop(w < 0 ? strerror(errno) : "the file took only part of a line");
    return false;
  }
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
  drop(err == EAGAIN ? "its reader has read nothing for a second"
       : err == EPIPE ? "its reader has gone"
                      : strerror(err));
  return false;
}
