#include "diagDelay.h"

#include "kernel.h"
#include "processEnd.h"

namespace {
// A nominal millisecond is asked for as 0.9 ms, so that the loop's own cost
// brings the whole near the time asked for. Through the kernel door, so that a
// replay on the desk takes the pauses without their time.
constexpr long ticksInMsecUs = 900;

void nominalMsec() { kernel().sleepUs(ticksInMsecUs); }
}  // namespace

E_STATUS diagDelay(unsigned int seconds, unsigned int milliseconds) {
  for (unsigned int s = 0; s < seconds && !interrupted(); ++s)
    for (int i = 0; i < 1000 && !interrupted(); ++i) nominalMsec();
  for (unsigned int m = 0; m < milliseconds && !interrupted(); ++m) nominalMsec();
  return SUCCESS;
}
