// The benchmarks run against a simulated instrument of their own, in a
// temporary state file, with the transaction trace off.
#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>


int main(int argc, char** argv) {
  std::string state = "/tmp/diag-bench-" + std::to_string(getpid()) + ".state";
  setenv("DIAG_SIM_STATE", state.c_str(), 1);
  unsetenv("DIAG_SIM_TRACE");
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  unlink(state.c_str());
  return 0;
}
