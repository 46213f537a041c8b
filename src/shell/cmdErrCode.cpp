#include "argScan.h"
#include "commands.h"
#include "errCode.h"
#include "log.h"

namespace {
const char* const usage[] = {"ec - dump error code table; most significant nibble = one of:",
                             "  0-overwritten by test, 1-main, 2-measurment, 3-source",
                             " -cd <string> - print code associated with string"};
const OptDecl opts[] = {wordOpt("-cd"), helpOpt()};

void findCodes(const std::map<int, std::string>& codes, const char* word) {
  for (const auto& [code, text] : codes)
    if (text.find(word) != std::string::npos) log(LOG_TERM, "!%04X\n", code & 0xFFFF);
}
}  // namespace

// The catalogue, or the codes whose text holds the -cd word.
E_STATUS errCode(int argc, char argv[][ARG_LEN]) {
  ArgScan scan(ecCmd.args, argc, argv);
  E_STATUS st = scan.run();
  if (st != SUCCESS || scan.ended()) return st;
  ErrCode ec;
  if (!scan.has("-cd")) {
    log(LOG_TERM, "Most significant nibble indicates test-running module:\n");
    log(LOG_TERM, "1-Main host assembly\n");
    log(LOG_TERM, "2-Measurement signal host assembly\n");
    log(LOG_TERM, "3-Source signal host assembly\n");
    ec.prCodes();
    return SUCCESS;
  }
  findCodes(ec.errMap, scan.word("-cd"));
  findCodes(ec.wrnMap, scan.word("-cd"));
  return SUCCESS;
}

constinit const CmdDecl ecCmd = {
    .help = "Error code information",
    .args = {.name = "ec", .usage = usage, .opts = opts, .rules = {.missing = MISSING_DROPS_OPT}},
    .handler = errCode};
