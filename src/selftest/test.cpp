#include "test.h"

#include <climits>

#include "log.h"

const OptDecl loopOpt = numOpt("-l", 0, ULONG_MAX).says("-l <loops (0=>infinite)>");
const OptDecl coeOpt = flagOpt("-coe");
const OptDecl* const loopTestOpts[2] = {&loopOpt, &coeOpt};

E_STATUS Test::runTest(int argc, char argv[][ARG_LEN]) {
  const ArgsDecl decl = {.name = nm.c_str(), .head = usageHead(), .opts = options(),
                         .rules = {.missing = MISSING_DROPS_OPT, .firstArg = 2}};
  Args args(decl, argc, argv);
  E_STATUS st = args.scan(helpString.c_str());
  if (st != SUCCESS || args.helped()) return st;
  return run(args);
}

E_STATUS UnavailableTest::run(const Args&) {
  log(LOG_TERM, "%s - not available in this build: its hardware is not reachable here\n", nm.c_str());
  return FXN_NOT_SUPPORTED;
}
