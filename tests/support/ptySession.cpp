#include "ptySession.h"

#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>

#include "programs.h"

namespace {
long long nowMs() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}
}  // namespace

PtySession::PtySession(const std::vector<std::string>& argv) {
  struct winsize ws = {40, 120, 0, 0};
  pid = forkpty(&master, nullptr, nullptr, &ws);
  if (pid == 0) {
    execProgram(argv);
  }
}

PtySession::~PtySession() {
  if (pid > 0 && !exited) {
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
  }
  if (master >= 0) close(master);
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
  long long deadline = nowMs() + timeoutMs;
  for (;;) {
    if (raw.find(text, markPos) != std::string::npos) return true;
    long long left = deadline - nowMs();
    if (left <= 0) return false;
    pump(static_cast<int>(left < 50 ? left : 50));
  }
}

std::string PtySession::since() const { return raw.substr(markPos); }
void PtySession::mark() {
  pump(0);
  markPos = raw.size();
}

std::vector<std::string> PtySession::screen() const {
  std::vector<std::string> lines(1);
  size_t col = 0;
  for (size_t i = 0; i < raw.size(); ++i) {
    char c = raw[i];
    std::string& line = lines.back();
    if (c == '\r') {
      col = 0;
    } else if (c == '\n') {
      lines.emplace_back();
      col = 0;
    } else if (c == '\b') {
      if (col > 0) --col;
    } else if (c == '\t') {
      col = (col / 8 + 1) * 8;
    } else if (c == '\x1b') {
      // ESC [ params letter; ESC and one character otherwise.
      if (i + 1 < raw.size() && raw[i + 1] == '[') {
        size_t j = i + 2;
        while (j < raw.size() && !isalpha(static_cast<unsigned char>(raw[j]))) ++j;
        if (j < raw.size()) {
          int n = atoi(raw.substr(i + 2, j - i - 2).c_str());
          if (raw[j] == 'K' && n == 2) line.clear();
          if (raw[j] == 'D') col = col > static_cast<size_t>(n) ? col - n : 0;
          if (raw[j] == 'C') col += n;
        }
        i = j;
      } else {
        ++i;
      }
    } else {
      if (line.size() < col) line.resize(col, ' ');
      if (col < line.size())
        line[col] = c;
      else
        line += c;
      ++col;
    }
  }
  return lines;
}

std::string PtySession::currentLine() const { return screen().back(); }

bool PtySession::waitForLine(const std::string& text, int timeoutMs) {
  long long deadline = nowMs() + timeoutMs;
  while (currentLine() != text) {
    long long left = deadline - nowMs();
    if (left <= 0) return false;
    pump(static_cast<int>(left < 50 ? left : 50));
  }
  return true;
}

int PtySession::waitExit(int timeoutMs) {
  long long deadline = nowMs() + timeoutMs;
  while (!exited) {
    int status;
    pid_t r = waitpid(pid, &status, WNOHANG);
    if (r == pid) {
      exited = true;
      exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
      break;
    }
    if (nowMs() > deadline) return -1;
    pump(20);
  }
  pump(0);
  return exitCode;
}
