#include "keyInput.h"

#include <poll.h>
#include <signal.h>
#include <sys/select.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "processEnd.h"
#include "termState.h"

namespace {
bool atEof = false;
constexpr char END_OF_INPUT = static_cast<char>(0xFF);

// Blocks until standard input can be read. An interrupt is let in only while
// blocked, so that one noted just before the wait is seen at once rather than
// at the next key: -1 with EINTR then, as for any signal that cut the wait.
int pollInput() {
  sigset_t interrupt, outside;
  sigemptyset(&interrupt);
  sigaddset(&interrupt, SIGINT);
  pthread_sigmask(SIG_BLOCK, &interrupt, &outside);
  struct pollfd p = {STDIN_FILENO, POLLIN, 0};
  int r = -1;
  errno = EINTR;
  if (!interrupted()) r = ppoll(&p, 1, nullptr, &outside);
  int err = errno;
  pthread_sigmask(SIG_SETMASK, &outside, nullptr);
  errno = err;
  return r;
}

// Blocks until a character can be read: a shell waiting at its prompt takes
// no processor time. 0 when a signal (an interrupt, stop and continue) cut the wait short.
char waitKey() {
  if (pollInput() < 0) {
    if (errno == EINTR) return 0;
    atEof = true;
    return END_OF_INPUT;
  }
  int r = fgetc(stdin);
  if (r != EOF) return static_cast<char>(r);
  if (ferror(stdin) && errno == EINTR) {
    clearerr(stdin);
    return 0;
  }
  // A hung-up or unreadable terminal ends the input as its end does.
  atEof = true;
  return END_OF_INPUT;
}
}  // namespace

int inputAvailable() {
  struct timeval tv = {0, 0};
  fd_set fds;
  FD_ZERO(&fds);
  FD_SET(STDIN_FILENO, &fds);
  int n = select(STDIN_FILENO + 1, &fds, nullptr, nullptr, &tv);
  // An input that cannot be watched (closed) counts as ready: its read fails and ends the wait.
  if (n < 0) return errno != EINTR;
  return n > 0 && FD_ISSET(STDIN_FILENO, &fds);
}

char nonBlockingGetChar() {
  nonblock(true);
  char c = 0;
  while (c == 0 && !interrupted()) c = waitKey();
  nonblock(false);
  return c;
}

bool waitInput() {
  while (!interrupted())
    if (pollInput() >= 0 || errno != EINTR) return true;
  return false;
}

bool stdinAtEof() { return atEof; }
