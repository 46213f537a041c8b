// The shell's processor time as a share of one core: diag-sim idle at its
// prompt in a pseudo-terminal for 10 s, and diag-sim running the ta command
// (whose timeline waits the last stretch before each action busily, by design).
// DIAG_BENCH_SIM names another diag-sim to measure (an older build, say).
#include <benchmark/benchmark.h>
#include <dirent.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <string>

namespace {
using Clock = std::chrono::steady_clock;

std::string simBin() {
  const char* other = getenv("DIAG_BENCH_SIM");
  return other && *other ? other : DIAG_SIM_BIN;
}

struct Shell {
  pid_t pid = -1;
  int master = -1;
};

Shell start(const char* arg) {
  Shell s;
  s.pid = forkpty(&s.master, nullptr, nullptr, nullptr);
  if (s.pid == 0) {
    std::string bin = simBin();
    execl(bin.c_str(), bin.c_str(), arg, static_cast<char*>(nullptr));
    _exit(127);
  }
  return s;
}

// Reads the shell's output until text appears; false after 30 s.
bool waitFor(const Shell& s, const std::string& text) {
  std::string out;
  auto deadline = Clock::now() + std::chrono::seconds(30);
  while (out.find(text) == std::string::npos) {
    struct pollfd p = {s.master, POLLIN, 0};
    if (Clock::now() > deadline || poll(&p, 1, 100) < 0) return false;
    char buf[512];
    ssize_t n = p.revents ? read(s.master, buf, sizeof buf) : 0;
    if (n < 0) return false;  // the shell has ended
    out.append(buf, static_cast<size_t>(n));
  }
  return true;
}

// Processor time of all the process's threads so far, in seconds (the
// scheduler's nanosecond count: clock ticks are too coarse for an idle process).
double cpuSeconds(pid_t pid) {
  std::string dir = "/proc/" + std::to_string(pid) + "/task";
  double sum = 0;
  DIR* d = opendir(dir.c_str());
  if (!d) return -1;
  while (dirent* e = readdir(d)) {
    if (e->d_name[0] == '.') continue;
    std::ifstream in(dir + "/" + e->d_name + "/schedstat");
    double ns = 0;
    if (in >> ns) sum += ns / 1e9;
  }
  closedir(d);
  return sum;
}

double seconds(const timeval& t) { return t.tv_sec + t.tv_usec / 1e6; }

void BM_IdlePrompt(benchmark::State& state) {
  for (auto _ : state) {
    Shell s = start(nullptr);
    if (!waitFor(s, "diag> ")) state.SkipWithError("no prompt");
    double cpu0 = cpuSeconds(s.pid);
    auto t0 = Clock::now();
    sleep(10);
    double cpu = cpuSeconds(s.pid) - cpu0;
    double wall = std::chrono::duration<double>(Clock::now() - t0).count();
    state.counters["cpu_ms"] = cpu * 1e3;
    state.counters["core_pct"] = 100.0 * cpu / wall;
    kill(s.pid, SIGKILL);
    waitpid(s.pid, nullptr, 0);
    close(s.master);
  }
}
BENCHMARK(BM_IdlePrompt)->Iterations(1)->Unit(benchmark::kSecond);

void BM_TaCommand(benchmark::State& state) {
  for (auto _ : state) {
    auto t0 = Clock::now();
    Shell s = start("ta");
    waitFor(s, "timed action 3");
    int status;
    struct rusage ru;
    wait4(s.pid, &status, 0, &ru);
    double wall = std::chrono::duration<double>(Clock::now() - t0).count();
    double cpu = seconds(ru.ru_utime) + seconds(ru.ru_stime);
    state.counters["cpu_ms"] = cpu * 1e3;
    state.counters["core_pct"] = 100.0 * cpu / wall;
    close(s.master);
  }
}
BENCHMARK(BM_TaCommand)->Iterations(1)->Unit(benchmark::kSecond);
}  // namespace
