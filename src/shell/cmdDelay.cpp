#include "cmdDelay.h"

#include <climits>

#include "argScan.h"
#include "commands.h"
#include "kernel.h"
#include "processEnd.h"

namespace {
constexpr long ticksInMsecUs = 900;

void nominalMsec() { kernel().sleepUs(ticksInMsecUs); }

const char* const usage[] = {"-s <seconds in sum of time to delay>", "-m <milliseconds in sum of time to delay>"};
const OptDecl opts[] = {numOpt("-s", 0, UINT_MAX), numOpt("-m", 0, UINT_MAX), helpOpt()};
}  // namespace

// An interrupt at the prompt ends the wait early.
E_STATUS diagDelay(unsigned int seconds, unsigned int milliseconds) {
  for (unsigned int s = 0; s < seconds && !interrupted(); ++s)
    for (int i = 0; i < 1000 && !interrupted(); ++i) nominalMsec();
  for (unsigned int m = 0; m < milliseconds && !interrupted(); ++m) nominalMsec();
  return SUCCESS;
}

// The two values add up; an option that is the last word counts as 0.
E_STATUS cmdDelay(int argc, char argv[][ARG_LEN]) {
  ArgScan scan(delayCmd.args, argc, argv);
  E_STATUS st = scan.run();
  if (st != SUCCESS || scan.ended()) return st;
  diagDelay(static_cast<unsigned int>(scan.num("-s")), static_cast<unsigned int>(scan.num("-m")));
  return SUCCESS;
}

constinit const CmdDecl delayCmd = {
    .help = "Delay",
    .args = {.name = "delay", .usage = usage, .opts = opts, .rules = {.missing = MISSING_IS_ZERO}},
    .handler = cmdDelay};
