#include <cstring>

#include "commands.h"
#include "errCode.h"
#include "log.h"

namespace {
void usage() {
  log(LOG_TERM, "ec - dump error code table; most significant nibble = one of:\n");
  log(LOG_TERM, "  0-overwritten by test, 1-main, 2-measurment, 3-source\n");
  log(LOG_TERM, " -cd <string> - print code associated with string\n");
}

void findCodes(const std::map<int, std::string>& codes, const char* word) {
  for (const auto& [code, text] : codes)
    if (text.find(word) != std::string::npos) log(LOG_TERM, "!%04X\n", code & 0xFFFF);
}
}  // namespace

E_STATUS errCode(int argc, char argv[][ARG_LEN]) {
  ErrCode ec;
  const char* word = nullptr;
  for (int i = 1; i < argc; ++i) {
    if (!strcmp(argv[i], "-cd") && i + 1 < argc) {
      word = argv[++i];
    } else if (!strcmp(argv[i], "-h")) {
      usage();
      return SUCCESS;
    }
  }
  if (!word) {
    log(LOG_TERM, "Most significant nibble indicates test-running module:\n");
    log(LOG_TERM, "1-Main host assembly\n");
    log(LOG_TERM, "2-Measurement signal host assembly\n");
    log(LOG_TERM, "3-Source signal host assembly\n");
    ec.prCodes();
    return SUCCESS;
  }
  findCodes(ec.errMap, word);
  findCodes(ec.wrnMap, word);
  return SUCCESS;
}
