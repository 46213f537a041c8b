// Arbitrary diag-simctl arguments through the simulator's control surface:
// configuration, faults and inspection of every model. Words are separated by
// NUL or newline, at most 12 of them. "revision FILE" reads only files of the
// target's own directory (no '/'): a device file or a FIFO is not a revision
// file and would be read without end.
#include <cstdint>
#include <string>
#include <vector>

#include "fuzzEnv.h"
#include "simCtl.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzzSetup();
  resetInstrument();
  std::vector<std::string> args(1);
  for (size_t i = 0; i < size && args.size() <= 12; ++i) {
    if (data[i] == '\0' || data[i] == '\n')
      args.emplace_back();
    else
      args.back() += static_cast<char>(data[i]);
  }
  if (args.size() > 12) args.resize(12);
  for (const std::string& a : args)
    if (a.find('/') != std::string::npos) return -1;
  std::string out;
  sim::simCtl(args, out);
  // A second call sees what the first one set.
  sim::simCtl({"show"}, out);
  return 0;
}
