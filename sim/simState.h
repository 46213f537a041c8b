#pragma once
#include <cstdint>

#include "boardConfig.h"
#include "fpgaState.h"
#include "i2cState.h"
#include "kernelFaultState.h"

namespace sim {

constexpr uint32_t SIM_MAGIC = 0x5a395349;  // "Z9SI"
constexpr uint32_t SIM_LAYOUT = 7;

// The whole simulated instrument, in one file-backed shared mapping so that
// every diag-sim process sees one instrument (or in the memory of one process,
// for tests and fuzzing). Plain data only.
struct SimState {
  uint32_t magic;
  uint32_t layout;
  uint32_t size;
  uint32_t generation;  // bumped by every reset
  uint64_t accesses;    // kernel-level operations served since the reset
  BoardConfig cfg;
  char revisionText[1024];  // contents of the installed-diagnostics revision file, more than one read's worth
  char configFile[256];    // the file that answers for diag.cfg: "" the built-in sample, "none" missing
  char boardRevText[32];   // what the board revision file holds instead of cfg.rev's number ("" none)
  FpgaState fpga;
  I2cState i2c;
  KernelFaults kfault;  // kept by power-cycle, like every injected fault
};

// Puts the instrument in its power-on state with the default configuration.
void resetState(SimState& s);
// Power-on state of the devices, keeping the configuration.
void resetDevices(SimState& s);

}  // namespace sim
