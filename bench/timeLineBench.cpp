// The timeline: how late each action runs after its time (median and worst
// over repeated runs) and how much processor time the waits take.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <cstdio>
#include <vector>

#include "timeLine.h"

namespace {
std::vector<long long> ranAt;  // microseconds, per action of one run

long long clockUsec() {
  TimeLineTime t;
  t.get();
  return t.time.tv_sec * 1000000LL + t.time.tv_usec;
}
void mark() { ranAt.push_back(clockUsec()); }

double cpuSeconds() {
  struct timespec ts;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
  return ts.tv_sec + ts.tv_nsec / 1e9;
}

// Actions at once, then offsets of 1x and 2x the given microseconds, as ta runs them.
void BM_TimeLineLateness(benchmark::State& state) {
  const long step = static_cast<long>(state.range(0));
  std::vector<double> late;
  double cpu = 0, wall = 0;
  // The timeline prints each time it ran: to nowhere here.
  fflush(stdout);
  int saved = dup(1), sink = open("/dev/null", O_WRONLY);
  dup2(sink, 1);
  for (auto _ : state) {
    TimedAction a1("action1", TimeLineTime(), mark), a2("action2", TimeLineTime(step / 1000000, step % 1000000), mark),
        a3("action3", TimeLineTime(2 * step / 1000000, 2 * step % 1000000), mark);
    TimeLine line;
    line.addTimedAction(&a1);
    line.addTimedAction(&a2);
    line.addTimedAction(&a3);
    ranAt.clear();
    double cpu0 = cpuSeconds();
    long long wall0 = clockUsec();
    line.execTimeLine();
    cpu += cpuSeconds() - cpu0;
    wall += (clockUsec() - wall0) / 1e6;
    if (ranAt.size() == 3) {
      late.push_back(static_cast<double>(ranAt[1] - ranAt[0] - step));
      late.push_back(static_cast<double>(ranAt[2] - ranAt[1] - 2 * step));
    }
  }
  fflush(stdout);
  dup2(saved, 1);
  close(saved);
  close(sink);
  std::sort(late.begin(), late.end());
  state.counters["late_median_us"] = late.empty() ? -1 : late[late.size() / 2];
  state.counters["late_worst_us"] = late.empty() ? -1 : late.back();
  state.counters["cpu_in_waits_pct"] = wall > 0 ? 100.0 * cpu / wall : 0;
}
BENCHMARK(BM_TimeLineLateness)->Arg(50000)->Iterations(20)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TimeLineLateness)->Arg(1000000)->Iterations(4)->Unit(benchmark::kMillisecond);
}  // namespace
