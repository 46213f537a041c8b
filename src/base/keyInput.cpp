#include "keyInput.h"

#include <sys/select.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "termState.h"

namespace {
bool atEof = false;
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
  char c = 0;
  nonblock(true);
  do {
    usleep(1);
    if (inputAvailable()) {
      int r = fgetc(stdin);
      if (r == EOF) {
        atEof = feof(stdin);
        c = static_cast<char>(0xFF);
      } else {
        c = static_cast<char>(r);
      }
    }
  } while (c == 0);
  nonblock(false);
  return c;
}

bool stdinAtEof() { return atEof; }
