// Arbitrary script files through the script runner, as "file NAME" runs them:
// comments, banners, stop, long and cut lines, control characters, CR LF
// ends. The lines run against the simulated instrument within the bounds of
// fuzzBounds.h.
#include <cstdint>
#include <cstdio>

#include "dcli.h"
#include "fuzzEnv.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzzSetup();
  resetInstrument();
  // An empty file is still a file: fmemopen wants at least one byte of buffer.
  static const uint8_t none[1] = {0};
  FILE* f = fmemopen(const_cast<uint8_t*>(size ? data : none), size ? size : 1, "r");
  if (!f) return 0;
  if (!size) fgetc(f);
  runScript(f, "fuzz-script", fuzzBoard());
  fclose(f);
  return 0;
}
