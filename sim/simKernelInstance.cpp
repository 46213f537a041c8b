#include "simKernel.h"

Kernel& kernel() {
  static sim::SimKernel k;
  return k;
}
