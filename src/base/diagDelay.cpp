#include "diagDelay.h"

#include <ctime>

#include "processEnd.h"

namespace {
constexpr long ticksInMsec = 900000;

void nominalMsec() {
  struct timespec ts = {0, ticksInMsec};
  nanosleep(&ts, nullptr);
}
}  // namespace

E_STATUS diagDelay(unsigned int seconds, unsigned int milliseconds) {
  for (unsigned int s = 0; s < seconds && !interrupted(); ++s)
    for (int i = 0; i < 1000 && !interrupted(); ++i) nominalMsec();
  for (unsigned int m = 0; m < milliseconds && !interrupted(); ++m) nominalMsec();
  return SUCCESS;
}
