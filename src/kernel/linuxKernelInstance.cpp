#include "linuxKernel.h"

Kernel& kernel() {
  static LinuxKernel k;
  return k;
}
