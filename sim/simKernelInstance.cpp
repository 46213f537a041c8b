#include "recordKernel.h"
#include "simKernel.h"

Kernel& kernel() {
  static sim::SimKernel k;
  static Kernel& door = recordedIfAsked(k);
  return door;
}
