// When started with DIAG_SEM_HELPER set, the test program is not a test run
// but a small user of the named semaphores that other tests start, stop and
// kill: it acts before main and ends there.
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "programSem.h"
#include "semIsolation.h"

namespace {
constexpr int HOLD_LIMIT_S = 30;

void say(const char* fmt, int a = 0, int b = 0) {
  printf(fmt, a, b);
  fflush(stdout);
}

// Made on first use: the helper runs before main, and only when asked.
ProgramSem* gpmcSem() {
  static ProgramSem sem("diagGPMCSem");
  return &sem;
}

// Takes "diagGPMCSem" and keeps it until killed, or ends at once holding it.
int hold(bool exitAtOnce) {
  ProgramSem* s = gpmcSem();
  if (s->take() != SUCCESS) return 2;
  say("held %d\n", static_cast<int>(getpid()));
  if (exitAtOnce) return 0;
  for (int i = 0; i < HOLD_LIMIT_S * 10; ++i) usleep(100000);
  return 0;
}

// Takes and gives "diagGPMCSem" as fast as it can until stopped.
int churn() {
  ProgramSem* s = gpmcSem();
  say("ready\n");
  time_t end = time(nullptr) + HOLD_LIMIT_S;
  for (long i = 0; i % 4096 != 0 || time(nullptr) < end; ++i) {
    if (s->take() != SUCCESS) return 3;
    s->give();
  }
  return 0;
}

// Holds "diagGPMCSem" and forks: the child must wait until the parent gives
// it back, not share the parent's hold or its lock.
int forkWhileHolding() {
  ProgramSem* s = gpmcSem();
  int ready[2];
  if (s->take() != SUCCESS || pipe(ready) != 0) return 2;
  pid_t child = fork();
  if (child == 0) {
    say("child trying\n");
    if (write(ready[1], "r", 1) != 1) _exit(4);
    if (s->take() != SUCCESS) _exit(3);
    say("child took\n");
    s->give();
    _exit(0);
  }
  struct pollfd p = {ready[0], POLLIN, 0};
  if (child < 0 || poll(&p, 1, HOLD_LIMIT_S * 1000) != 1) return 2;
  usleep(300000);  // time for a child that does not wait to show it
  say("parent gives\n");
  s->give();
  int status = waitChild(child, HOLD_LIMIT_S * 1000);
  return status == -1 ? 6 : WIFEXITED(status) ? WEXITSTATUS(status) : 5;
}

int helperIfAsked() {
  const char* mode = getenv("DIAG_SEM_HELPER");
  if (!mode) return 0;
  int rc = 1;
  if (!strcmp(mode, "hold")) rc = hold(false);
  else if (!strcmp(mode, "exit-holding")) rc = hold(true);
  else if (!strcmp(mode, "churn")) rc = churn();
  else if (!strcmp(mode, "fork")) rc = forkWhileHolding();
  exit(rc);  // exit, not _exit: what the process holds is released on the way out
}

[[maybe_unused]] const int helperRan = helperIfAsked();
}  // namespace
