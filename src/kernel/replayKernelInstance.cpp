#include "replayKernel.h"

ReplayKernel& replayKernel() {
  static ReplayKernel k;
  return k;
}

Kernel& kernel() { return replayKernel(); }
