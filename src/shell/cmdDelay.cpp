#include "cmdDelay.h"

#include <cstdlib>
#include <cstring>
#include <ctime>

#include "commands.h"
#include "log.h"

namespace {
constexpr long ticksInMsec = 900000;

void nominalMsec() {
  struct timespec ts = {0, ticksInMsec};
  nanosleep(&ts, nullptr);
}
}  // namespace

E_STATUS diagDelay(unsigned int seconds, unsigned int milliseconds) {
  for (unsigned int s = 0; s < seconds; ++s)
    for (int i = 0; i < 1000; ++i) nominalMsec();
  for (unsigned int m = 0; m < milliseconds; ++m) nominalMsec();
  return SUCCESS;
}

E_STATUS cmdDelay(int argc, char argv[][ARG_LEN]) {
  unsigned long seconds = 0, msecs = 0;
  for (int i = 1; i < argc; ++i) {
    if (!strcmp(argv[i], "-s")) {
      seconds = (i + 1 < argc) ? strtoul(argv[++i], nullptr, 0) : 0;
    } else if (!strcmp(argv[i], "-m")) {
      msecs = (i + 1 < argc) ? strtoul(argv[++i], nullptr, 0) : 0;
    } else if (!strcmp(argv[i], "-h")) {
      log(LOG_TERM, "-s <seconds in sum of time to delay>\n");
      log(LOG_TERM, "-m <milliseconds in sum of time to delay>\n");
      return SUCCESS;
    }
  }
  diagDelay(static_cast<unsigned int>(seconds), static_cast<unsigned int>(msecs));
  return SUCCESS;
}
