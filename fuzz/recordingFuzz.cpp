// Any bytes as a recording of the program (DIAG_RECORD): read back as diag-replay
// and diag-simctl read it, then taken by the simulated instrument
// (load-recording), which carries out and learns every transfer it holds.
#include <cstdint>
#include <cstdio>
#include <string>

#include "fuzzEnv.h"
#include "recording.h"
#include "simCtl.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzzSetup();
  resetInstrument();
  FILE* f = fopen("input.rec", "wb");  // in the target's own directory
  if (!f) return 0;
  if (size) fwrite(data, 1, size, f);
  fclose(f);
  Recording rec;
  std::string why, out;
  readRecording("input.rec", &rec, &why);
  sim::simCtl({"load-recording", "input.rec"}, out);
  sim::simCtl({"show"}, out);
  return 0;
}
