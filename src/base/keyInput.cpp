#include "keyInput.h"

#include <poll.h>
#include <sys/select.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "termState.h"

namespace {
bool atEof = false;
constexpr char END_OF_INPUT = static_cast<char>(0xFF);

// Blocks until a character can be read: a shell waiting at its prompt takes
// no processor time. 0 when a signal (stop and continue) cut the wait short.
char waitKey() {
  struct pollfd p = {STDIN_FILENO, POLLIN, 0};
  if (poll(&p, 1, -1) < 0) {
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
  while (c == 0) c = waitKey();
  nonblock(false);
  return c;
}

bool stdinAtEof() { return atEof; }
