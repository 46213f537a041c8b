#include "termState.h"

#include <pthread.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>

#include "processEnd.h"

namespace {
// Read by signal handlers: each is complete before its flag says so.
struct termios found;
struct termios beforeStop;
volatile sig_atomic_t saved = 0;
volatile sig_atomic_t stopped = 0;

// The terminal belongs to the foreground job: a shell stopped or put in the
// background leaves it alone (and is not stopped again for touching it).
bool foreground() { return tcgetpgrp(STDIN_FILENO) == getpgrp(); }

// The functions below run inside signal handlers: async-signal-safe calls only.
void giveBack() {
  if (saved && foreground()) tcsetattr(STDIN_FILENO, TCSANOW, &found);
}

void takeUp() {
  if (stopped && foreground()) {
    tcsetattr(STDIN_FILENO, TCSANOW, &beforeStop);
    stopped = 0;
  }
}

void onStop(int);

void handle(int sig, void (*fn)(int)) {
  struct sigaction sa = {};
  sa.sa_handler = fn;
  sigemptyset(&sa.sa_mask);
  sa.sa_flags = SA_RESTART;
  sigaction(sig, &sa, nullptr);
}

// Ctrl-Z: give the terminal back, stop, and on continue take up the modes again.
void onStop(int) {
  int err = errno;
  if (foreground() && tcgetattr(STDIN_FILENO, &beforeStop) == 0) stopped = 1;
  giveBack();
  signal(SIGTSTP, SIG_DFL);
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGTSTP);
  pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
  raise(SIGTSTP);  // the process stops here until it is continued
  handle(SIGTSTP, onStop);
  takeUp();
  errno = err;
}

// Continued in the background and later brought to the foreground: the modes come back then.
void onContinue(int) {
  int err = errno;
  takeUp();
  errno = err;
}

bool startedDefault(int sig) {
  struct sigaction old;
  return sigaction(sig, nullptr, &old) == 0 && old.sa_handler == SIG_DFL;
}
}  // namespace

void saveTermState() {
  if (saved || tcgetattr(STDIN_FILENO, &found) != 0) return;
  saved = 1;
  atProcessEnd(giveBack);
  // A shell started with Ctrl-Z ignored (no job control) keeps it so.
  if (startedDefault(SIGTSTP)) handle(SIGTSTP, onStop);
  handle(SIGCONT, onContinue);
}

void restoreTermState() { giveBack(); }

int nonblock(bool on) {
  struct termios t;
  if (tcgetattr(STDIN_FILENO, &t) != 0) return -1;
  if (on) {
    t.c_lflag &= ~static_cast<tcflag_t>(ICANON);
    t.c_cc[VMIN] = 1;
  } else {
    t.c_lflag |= ICANON;
  }
  return tcsetattr(STDIN_FILENO, TCSANOW, &t);
}
