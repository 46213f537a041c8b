#include "test.h"

#include <climits>

#include "log.h"

const char* const loopTestUsage[1] = {"-l <loops (0=>infinite)>"};
const OptDecl loopTestOpts[3] = {numOpt("-l", 0, ULONG_MAX), flagOpt("-coe"), helpOpt()};

ArgsDecl Test::ownArgs(std::span<const char* const> usage, std::span<const OptDecl> opts) const {
  return {.name = nm.c_str(), .usage = usage, .opts = opts, .rules = {.missing = MISSING_DROPS_OPT, .firstArg = 2}};
}

E_STATUS UnavailableTest::runTest(int argc, char argv[][ARG_LEN]) {
  if (isRegTest()) {
    ArgsDecl args = ownArgs(loopTestUsage, loopTestOpts);
    ArgScan scan(args, argc, argv);
    E_STATUS st = scan.run();
    if (st != SUCCESS || scan.ended()) return st;
  }
  log(LOG_TERM, "%s - not available in this build: its hardware is not reachable here\n", nm.c_str());
  return FXN_NOT_SUPPORTED;
}
