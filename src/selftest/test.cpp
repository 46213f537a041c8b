#include "test.h"

#include "log.h"

E_STATUS UnavailableTest::runTest(int argc, char argv[][ARG_LEN]) {
  log(LOG_TERM, "%s - not available in this build: its hardware is not reachable here\n", escPct(nm).c_str());
  return FXN_NOT_SUPPORTED;
}
