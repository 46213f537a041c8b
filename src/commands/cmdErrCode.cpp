#include "board.h"
#include "errCode.h"

namespace {
const char* const head[] = {"ec - dump error code table; most significant nibble = one of:",
                            "  0-overwritten by test, 1-main, 2-measurment, 3-source"};
const OptDecl word = wordOpt("-cd").says(" -cd <string> - print code associated with string");
const OptDecl* const opts[] = {&word};

void findCodes(const std::map<int, std::string>& codes, const char* text) {
  for (const auto& [code, entry] : codes)
    if (entry.find(text) != std::string::npos) log(LOG_TERM, "!%04X\n", code & 0xFFFF);
}

// The catalogue, or the codes whose text holds the -cd word.
E_STATUS errCode(const Args& args, Board&) {
  ErrCode ec;
  if (!args.has(word)) {
    log(LOG_TERM, "Most significant nibble indicates test-running module:\n");
    log(LOG_TERM, "1-Main host assembly\n");
    log(LOG_TERM, "2-Measurement signal host assembly\n");
    log(LOG_TERM, "3-Source signal host assembly\n");
    ec.prCodes();
    return SUCCESS;
  }
  findCodes(ec.errMap, args.word(word));
  findCodes(ec.wrnMap, args.word(word));
  return SUCCESS;
}
}  // namespace

constinit const CmdDecl ecCmd = {
    .help = "Error code information",
    .args = {.name = "ec", .head = head, .opts = opts, .rules = {.missing = MISSING_DROPS_OPT}},
    .handler = errCode};
DIAG_COMMAND(ecCmd);
