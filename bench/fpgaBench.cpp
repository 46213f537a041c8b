// FPGA word access on the simulator: words per second, and kernel calls per
// word (one request per register word under the GPMC semaphore; two per
// output-buffer word, which is accessed twice).
#include <benchmark/benchmark.h>

#include "gpmcDevCtl.h"
#include "gpmcDevMap.h"
#include "kernel.h"
#include "simCtl.h"

namespace {
constexpr unsigned long BLOCK = 256;

// The FPGA's ports as the program's board holds them, with the semaphore they take.
GpmcDevMap& fpga() {
  static ProgramSem sem("diagGPMCSem");
  static GpmcDevMap* map = new GpmcDevMap(sem);  // kept past the simulated kernel's end
  return *map;
}

GpmcDev* target(const char* name) {
  std::string out;
  sim::simCtl({"reset"}, out);
  sim::simCtl({"set", "board", "signal"}, out);
  GpmcDev* dev = fpga().find(name);
  if (std::string(name) == "obuf") GpmcDevCtl(*fpga().find("reg")).GPMCEnOBufWrites();
  return dev;
}

void report(benchmark::State& state, double words) {
  state.counters["words_per_s"] = benchmark::Counter(words, benchmark::Counter::kIsRate);
  state.counters["kernel_calls_per_word"] = words > 0 ? kernel().counts().total() / words : 0;
}

void BM_WordsRead(benchmark::State& state, const char* name) {
  GpmcDev* dev = target(name);
  unsigned short buf[BLOCK];
  unsigned long n = 0;
  double words = 0;
  kernel().resetCounts();
  for (auto _ : state) {
    dev->read(buf, 0, &n);
    words += n;
  }
  report(state, words);
}
BENCHMARK_CAPTURE(BM_WordsRead, register, "reg")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_WordsRead, outputBuffer, "obuf")->Unit(benchmark::kMicrosecond);

void BM_RegisterWordsWritten(benchmark::State& state) {
  GpmcDev* reg = target("reg");
  unsigned short buf[BLOCK] = {};
  unsigned long n = 0;
  double words = 0;
  kernel().resetCounts();
  for (auto _ : state) {
    reg->write(buf, 0x100, BLOCK, &n);  // unmapped addresses: no side effects
    words += n;
  }
  report(state, words);
}
BENCHMARK(BM_RegisterWordsWritten)->Unit(benchmark::kMicrosecond);

}  // namespace
