// Arbitrary contents of the simulator's state file: another process (or a
// damaged file of the right size) may leave any bytes in the shared state.
// The input patches a power-on state past its header (a bad header makes the
// next program reset the file, which leaves nothing to fuzz); the target's
// instrument is in memory, with the file's layout. Then a choice
// of commands reads the instrument through every model: configuration,
// switches, chips, fan controller, FPGA registers, buffers, ramp and A2D.
//
// Input: two bytes choosing the commands (one bit each), then patches of
// three bytes of offset (taken modulo the state's size), one byte of length
// and that many bytes.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "cmdLine.h"
#include "fuzzEnv.h"
#include "simCtl.h"
#include "simStore.h"

namespace {
const char* const probes[] = {
    "version",
    "i2c -l",
    "i2c -d fctl -o 0x90 -r 2",
    "i2c -dump",
    "fan -ds",
    "fan -rr -p 3 -o 0x79",
    "gpmc -m reg -r 64",
    "gpmc -m obuf -r 32",
    "gpmc -m ibuf -r 32",
    "allok -d",
    "runtest i2cscn",
    "runtest gpmcreg",
    "runtest fcreg",
    "runtest tmp0reg",
    "i2c -d eeprom1 -o 0 -r 16",
    "gpmc -m fgen -r 16",
};
static_assert(sizeof probes / sizeof probes[0] == 16, "one bit of the choice each");

void runLine(const char* line) {
  char argv[MAX_ARGS][ARG_LEN];
  int argc = 0;
  if (lineParser(&argc, argv, line) == SUCCESS) cmdExec(argc, argv, fuzzBoard());
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzzSetup();
  if (size < 2) return 0;
  resetInstrument();
  const unsigned choice = data[0] | data[1] << 8;
  auto* state = reinterpret_cast<uint8_t*>(&sim::SimStore::get().state());
  constexpr size_t HEADER = offsetof(sim::SimState, generation);
  constexpr size_t BODY = sizeof(sim::SimState) - HEADER;
  for (size_t at = 2; at + 4 <= size;) {
    size_t off = (data[at] | data[at + 1] << 8 | data[at + 2] << 16) % BODY;
    size_t len = data[at + 3];
    at += 4;
    if (len > size - at) len = size - at;
    if (len > BODY - off) len = BODY - off;
    {
      sim::SimLock lk;  // as another process would write it: under the state lock
      memcpy(state + HEADER + off, data + at, len);
    }
    at += len;
  }
  std::string out;
  sim::simCtl({"show"}, out);
  for (unsigned i = 0; i < 16; ++i)
    if (choice & 1u << i) runLine(probes[i]);
  return 0;
}
