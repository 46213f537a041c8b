#include <climits>

#include "board.h"
#include "diagDelay.h"

namespace {
const OptDecl seconds = numOpt("-s", 0, UINT_MAX).says("-s <seconds in sum of time to delay>");
const OptDecl millis = numOpt("-m", 0, UINT_MAX).says("-m <milliseconds in sum of time to delay>");
const OptDecl* const opts[] = {&seconds, &millis};

// The two values add up; an option that is the last word counts as 0.
E_STATUS cmdDelay(const Args& args, Board&) {
  diagDelay(static_cast<unsigned int>(args.num(seconds)), static_cast<unsigned int>(args.num(millis)));
  return SUCCESS;
}
}  // namespace

constinit const CmdDecl delayCmd = {
    .help = "Delay", .args = {.name = "delay", .opts = opts, .rules = {.missing = MISSING_IS_ZERO}}, .handler = cmdDelay};
DIAG_COMMAND(delayCmd);
