// What recording costs (DIAG_RECORD): the same diag-sim command lines run side
// by side without and with it, each run a process of its own to its end. FPGA
// register words per second through the whole program (a script reading the
// register space 40 times: 81,920 words under the GPMC semaphore, each recorded
// as one line), and the wall time of fan -r (the fan controller's 87 registers
// over PMBus, with the pauses between its transfers), on the main host.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "simCtl.h"

namespace {
constexpr int SCRIPT_READS = 40;
constexpr double WORDS_PER_READ = 2048;

std::string benchPath(const char* name) { return "/tmp/diag-bench-" + std::to_string(getpid()) + name; }

// Seconds of one run of diag-sim, its output thrown away; the recording, if any, to a file of the bench's.
double runSim(const std::vector<std::string>& args, bool recorded) {
  const std::string rec = benchPath(".rec");
  auto start = std::chrono::steady_clock::now();
  pid_t pid = fork();
  if (pid == 0) {
    int null = open("/dev/null", O_WRONLY);
    dup2(null, 1);
    if (recorded) setenv("DIAG_RECORD", rec.c_str(), 1);
    std::vector<char*> argv = {const_cast<char*>(DIAG_SIM_BIN)};
    for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    execv(DIAG_SIM_BIN, argv.data());
    _exit(127);
  }
  int status = 0;
  waitpid(pid, &status, 0);
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Each iteration runs the command unrecorded, then recorded, so that both see the same machine; on the main
// host at power-on.
void BM_RecordingCost(benchmark::State& state, std::vector<std::string> args, double words) {
  std::string out;
  sim::simCtl({"reset"}, out);
  double plain = 0, recorded = 0;
  for (auto _ : state) {
    plain += runSim(args, false);
    double r = runSim(args, true);
    recorded += r;
    state.SetIterationTime(r);
  }
  const double n = static_cast<double>(state.iterations());
  state.counters["unrecorded_ms"] = plain / n * 1000;
  state.counters["recorded_ms"] = recorded / n * 1000;
  state.counters["slowdown"] = plain > 0 ? recorded / plain : 0;
  struct stat st;
  if (stat(benchPath(".rec").c_str(), &st) == 0) state.counters["recording_kb"] = st.st_size / 1024.0;
  if (words > 0) {
    state.counters["unrecorded_words_per_s"] = words * n / plain;
    state.counters["recorded_words_per_s"] = words * n / recorded;
  }
  unlink(benchPath(".rec").c_str());
}

void BM_RegisterWords(benchmark::State& state) {
  const std::string script = benchPath(".words");
  std::ofstream out(script);
  for (int i = 0; i < SCRIPT_READS; ++i) out << "gpmc -m reg -r 2048 -s\n";
  out.close();
  BM_RecordingCost(state, {"file", script}, SCRIPT_READS * WORDS_PER_READ);
  unlink(script.c_str());
}
BENCHMARK(BM_RegisterWords)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);

void BM_FanDump(benchmark::State& state) { BM_RecordingCost(state, {"fan", "-r"}, 0); }
BENCHMARK(BM_FanDump)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);

}  // namespace
