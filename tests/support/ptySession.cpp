#include "ptySession.h"

#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "programs.h"
#include "semIsolation.h"

namespace {
volatile sig_atomic_t fgAsked = 0;

// The session leader under job control: puts the program in a process group
// of its own in the foreground, reports on the events pipe how the job fares,
// and ends as the job ended (its exit code, or its signal).
[[noreturn]] void jobShell(const std::vector<std::string>& argv, int events, bool takeBackOnStop) {
  signal(SIGTTOU, SIG_IGN);  // handing the terminal to the job from outside the foreground
  signal(SIGUSR1, [](int) { fgAsked = 1; });  // "fg"
  pid_t job = fork();
  if (job == 0) {
    setpgid(0, 0);
    tcsetpgrp(STDIN_FILENO, getpid());
    signal(SIGTTOU, SIG_DFL);
    close(events);
    execProgram(argv);
  }
  setpgid(job, job);
  tcsetpgrp(STDIN_FILENO, job);
  dprintf(events, "job %d\n", static_cast<int>(job));
  for (;;) {
    if (fgAsked) {
      fgAsked = 0;
      tcsetpgrp(STDIN_FILENO, job);
      kill(job, SIGCONT);
    }
    int st;
    pid_t r = waitpid(job, &st, WUNTRACED | WCONTINUED | WNOHANG);
    if (r == 0 || (r < 0 && errno == EINTR)) {
      usleep(1000);  // a short look again, so that an fg asked at any moment is seen
      continue;
    }
    if (r < 0) _exit(126);
    if (WIFSTOPPED(st)) {
      if (takeBackOnStop) tcsetpgrp(STDIN_FILENO, getpgrp());
      dprintf(events, "stopped\n");
    } else if (WIFCONTINUED(st)) {
      dprintf(events, "continued\n");
    } else if (WIFSIGNALED(st)) {
      signal(WTERMSIG(st), SIG_DFL);
      kill(getpid(), WTERMSIG(st));
      _exit(126);
    } else {
      _exit(WEXITSTATUS(st));
    }
  }
}
}  // namespace

PtySession::PtySession(const std::vector<std::string>& argv, const Options& opts) {
  struct winsize ws = {40, 120, 0, 0};
  int ev[2] = {-1, -1};
  if (opts.jobControl && pipe(ev) != 0) return;
  pid = forkpty(&master, nullptr, opts.modes, &ws);
  if (pid == 0) {
    // Programs that a test ends with a fatal signal leave no core files behind.
    struct rlimit noCore = {0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    if (!opts.jobControl) execProgram(argv);
    close(ev[0]);
    jobShell(argv, ev[1], opts.takeBackOnStop);
  }
  if (!opts.jobControl) return;
  close(ev[1]);
  events = ev[0];
  if (::waitForLine(events, "\n", 10000, &eventText)) jobPid = atoi(eventText.c_str() + 4);  // "job PID"
  eventText.erase(0, eventText.find('\n') + 1);
}

PtySession::~PtySession() {
  if (jobPid > 0 && !exited) kill(jobPid, SIGKILL);
  if (pid > 0 && !exited) {
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
  }
  if (master >= 0) close(master);
  if (events >= 0) close(events);
}

termios PtySession::modes() const {
  termios t = {};
  tcgetattr(master, &t);
  return t;
}

// Every wait of the session: pumps the output until done() holds; false when timeoutMs passed first.
bool PtySession::waitUntil(const std::function<bool()>& done, int timeoutMs) {
  for (long long deadline = monoMs() + timeoutMs; !done(); pump(20))
    if (monoMs() > deadline) return false;
  return true;
}

bool PtySession::waitCanonical(bool canonical, int timeoutMs) {
  return waitUntil([&] { return ((modes().c_lflag & ICANON) != 0) == canonical; }, timeoutMs);
}

void PtySession::foreground() { kill(pid, SIGUSR1); }

bool PtySession::waitJob(const std::string& event, int timeoutMs) {
  if (!::waitForLine(events, event + "\n", timeoutMs, &eventText)) return false;
  eventText.erase(0, eventText.find(event + "\n") + event.size() + 1);
  return true;
}

void PtySession::send(const std::string& keys) {
  ssize_t n = write(master, keys.data(), keys.size());
  (void)n;
}

void PtySession::type(const std::string& keys) {
  for (char c : keys) {
    send(std::string(1, c));
    // The line editor reads one key at a time; give it the chance to.
    usleep(20000);
    pump(0);
  }
}

void PtySession::pump(int timeoutMs) {
  struct pollfd p = {master, POLLIN, 0};
  if (poll(&p, 1, timeoutMs) <= 0) return;
  char buf[4096];
  ssize_t n = read(master, buf, sizeof buf);
  if (n > 0) raw.append(buf, static_cast<size_t>(n));
}

bool PtySession::waitFor(const std::string& text, int timeoutMs) {
  return waitUntil([&] { return raw.find(text, markPos) != std::string::npos; }, timeoutMs);
}

std::string PtySession::since() const { return raw.substr(markPos); }
void PtySession::mark() {
  pump(0);
  markPos = raw.size();
}

int PtySession::waitExit(int timeoutMs) {
  int status = 0;
  if (!exited && waitUntil([&] { return waitpid(pid, &status, WNOHANG) == pid; }, timeoutMs)) {
    exited = true;
    exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    endSig = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  }
  pump(0);
  return exited ? exitCode : -1;
}
