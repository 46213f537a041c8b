// The program pauses where the parts need time: between PMBus transfers, between
// polls of a register, while an all-okay source settles. On the simulator those
// pauses would make each fuzz input take up to seconds. Every fuzz target links
// this kernel in place of the simulator's own instance: the same simulated
// instrument, whose in-memory clock moves on by each pause at the door at once,
// so that a poll loop keeps its counts and its order of accesses and sees the
// parts change where it would after the real pause. (With the state file, whose
// clock every process shares, a pause lasts at most 100 µs instead.)
#include "simKernel.h"
#include "simStore.h"

namespace {
class ShortSleepKernel : public sim::SimKernel {
protected:
  int doSleepUs(long long us) override {
    if (us > 0 && sim::skipTime(static_cast<uint64_t>(us) * 1000u)) return 0;
    constexpr long long MAX_US = 100;
    return SimKernel::doSleepUs(us < MAX_US ? us : MAX_US);
  }
};
}  // namespace

Kernel& kernel() {
  static ShortSleepKernel k;
  return k;
}
