// Steps that must not be cut in half by a terminate or an interrupt, and the
// hooks that run at the process's end.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "processEnd.h"

// A terminate or a hang-up that comes inside a step inside another waits for the
// outer one to end: an inner step's end must not let the signal cut the outer in half.
TEST(ProcessEnd, ATerminateWaitsForTheOutermostDeferredStep) {
  for (int sig : {SIGTERM, SIGHUP, SIGQUIT}) {
    int p[2];
    ASSERT_EQ(pipe(p), 0);
    pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      close(p[0]);
      catchInterrupts(false);  // the ending signals are handled from here on
      {
        EndDeferred outer;
        {
          EndDeferred inner;
          raise(sig);
        }
        (void)!write(p[1], "outer step done", 15);
      }
      (void)!write(p[1], ", and after it", 14);
      _exit(0);
    }
    close(p[1]);
    std::string got;
    char buf[64];
    for (ssize_t n; (n = read(p[0], buf, sizeof buf)) > 0;) got.append(buf, static_cast<size_t>(n));
    close(p[0]);
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_EQ(got, "outer step done");
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == sig) << sig << ": " << status;
  }
}

// A terminate that comes while the hooks run at the exit does not run them again.
TEST(ProcessEnd, HooksRunOnceThoughASignalComesWhileTheyRun) {
  static int p[2];
  ASSERT_EQ(pipe(p), 0);
  pid_t pid = fork();
  if (pid == 0) {
    atProcessEnd([] {
      (void)!write(p[1], "h", 1);
      raise(SIGTERM);
    });
    exit(0);
  }
  close(p[1]);
  waitpid(pid, nullptr, 0);
  char buf[4];
  EXPECT_EQ(read(p[0], buf, sizeof buf), 1);
  close(p[0]);
}
