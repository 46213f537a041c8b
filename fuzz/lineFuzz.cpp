// Arbitrary command lines through the line parser and the dispatcher, as the
// shell hands a typed or one-shot line to them. Lines run against the
// simulated instrument, within the bounds of fuzzBounds.h.
#include <cstdint>
#include <string>

#include "cmdLine.h"
#include "fuzzEnv.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzzSetup();
  resetInstrument();
  // A line is text up to its NUL; the parser itself reads at most 200 characters of it.
  std::string line(reinterpret_cast<const char*>(data), size);
  line = line.c_str();
  char argv[MAX_ARGS][ARG_LEN];
  int argc = 0;
  if (lineParser(&argc, argv, line.c_str()) == SUCCESS) cmdExec(argc, argv, fuzzBoard());
  return 0;
}
