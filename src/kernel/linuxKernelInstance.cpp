#include "linuxKernel.h"
#include "recordKernel.h"

Kernel& kernel() {
  static LinuxKernel k;
  static Kernel& door = recordedIfAsked(k);
  return door;
}
