#include "simState.h"

#include <cstdio>
#include <cstring>

#include "fpgaModel.h"
#include "i2cModel.h"

namespace sim {

void resetDevices(SimState& s) {
  resetFpga(s);
  resetI2c(s);
}

void resetState(SimState& s) {
  uint32_t gen = s.magic == SIM_MAGIC ? s.generation + 1 : 1;
  memset(&s, 0, sizeof s);
  s.magic = SIM_MAGIC;
  s.layout = SIM_LAYOUT;
  s.size = sizeof s;
  s.generation = gen;
  defaultConfig(s.cfg);
  snprintf(s.revisionText, sizeof s.revisionText, "build:1\nbranch_commit:0\nmerge_to_devel:simulated\n");
  resetDevices(s);
}

}  // namespace sim
