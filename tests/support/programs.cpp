#include "programs.h"

#include <gtest/gtest.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <sstream>

#include "semIsolation.h"

namespace {
std::vector<std::string> emulator() {
  std::vector<std::string> out;
  std::stringstream ss(DIAG_EMULATOR);
  for (std::string part; std::getline(ss, part, ',');)
    if (!part.empty()) out.push_back(part);
  return out;
}

}  // namespace

std::string diagBin() { return DIAG_BIN; }
std::string diagSimBin() { return DIAG_SIM_BIN; }
std::string simctlBin() { return DIAG_SIMCTL_BIN; }
std::string replayBin() { return DIAG_REPLAY_BIN; }

std::vector<std::string> programArgv(const std::string& bin, const std::vector<std::string>& args,
                                     const std::string& env) {
  std::vector<std::string> v = emulator();
  if (!env.empty()) v.insert(v.begin(), {"/usr/bin/env", env});
  v.push_back(bin);
  v.insert(v.end(), args.begin(), args.end());
  return v;
}

void execProgram(const std::vector<std::string>& argv) {
  std::vector<char*> a;
  for (const std::string& s : argv) a.push_back(const_cast<char*>(s.c_str()));
  a.push_back(nullptr);
  execv(a[0], a.data());
  _exit(127);
}

RunResult runProgram(const std::vector<std::string>& argv, const std::string& input, int timeoutMs) {
  RunResult r;
  int in[2];
  if (pipe2(in, O_CLOEXEC) != 0) return r;  // the write end closes in the program: it sees the input end
  Child c = spawn(argv, in[0]);
  close(in[0]);
  if (c.pid <= 0) {  // no program, so nothing to give the input to or to end
    close(in[1]);
    return r;
  }
  signal(SIGPIPE, SIG_IGN);
  if (!input.empty()) (void)!write(in[1], input.data(), input.size());
  close(in[1]);
  long long deadline = monoMs() + timeoutMs;
  char buf[4096];
  for (;;) {
    long long left = deadline - monoMs();
    if (left <= 0) {
      r.timedOut = true;
      kill(c.pid, SIGKILL);
      break;
    }
    struct pollfd p = {c.out, POLLIN, 0};
    if (poll(&p, 1, static_cast<int>(left)) <= 0) continue;
    ssize_t n = read(c.out, buf, sizeof buf);
    if (n <= 0) break;
    r.out.append(buf, static_cast<size_t>(n));
  }
  close(c.out);
  int status = 0;
  waitpid(c.pid, &status, 0);
  if (!r.timedOut && WIFEXITED(status)) r.exitCode = WEXITSTATUS(status);
  return r;
}

RunResult runSim(const std::vector<std::string>& args, const std::string& input, int timeoutMs) {
  return runProgram(programArgv(diagSimBin(), args), input, timeoutMs);
}

std::string simOut(const std::vector<std::string>& args, const std::string& input) {
  RunResult r = runSim(args, input);
  EXPECT_EQ(r.exitCode, 0) << r.out;
  return r.out;
}
