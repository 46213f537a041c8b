// The program pauses where the parts need time: between PMBus transfers, between
// polls of a register, while an all-okay source settles. On the simulator those
// pauses would make each fuzz input take up to seconds. Every fuzz target links
// this kernel in place of the simulator's own instance: the same simulated
// instrument, with each pause at the door lasting at most 100 µs. Poll loops
// keep their counts and their order of accesses; the simulated parts still move
// in real time, so a wait for them may end at its count instead.
#include "simKernel.h"

namespace {
class ShortSleepKernel : public sim::SimKernel {
protected:
  int doSleepUs(long long us) override {
    constexpr long long MAX_US = 100;
    return SimKernel::doSleepUs(us < MAX_US ? us : MAX_US);
  }
};
}  // namespace

Kernel& kernel() {
  static ShortSleepKernel k;
  return k;
}
