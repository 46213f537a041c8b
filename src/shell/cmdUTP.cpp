#include <cstdio>
#include <string>

#include "argScan.h"
#include "commands.h"
#include "keyInput.h"
#include "log.h"
#include "outFile.h"

namespace {
char UTPStr[200];

const char* const usage[] = {"- pause for a UTP action", "-f <filename>", "-m <\"message to stdout\">"};
// -f and -m need a word after them, else they are passed over; -m takes the
// words up to the next option.
const OptDecl opts[] = {helpOpt(), wordOpt("-f"), wordsOpt("-m", false)};

// Reads the operator's answer, up to and including the newline. False when an
// interrupt at the prompt stopped the wait.
bool readAnswer() {
  size_t n = 0;
  UTPStr[0] = '\0';
  while (n < sizeof UTPStr - 1) {
    if (!waitInput()) return false;
    int c = fgetc(stdin);
    if (c == EOF) break;
    UTPStr[n++] = static_cast<char>(c);
    if (c == '\n') break;
  }
  UTPStr[n] = '\0';
  return true;
}

// The message words joined by blanks; where an option stopped them, the blank before it stays.
std::string message(const ArgScan& scan) {
  const OptHit* m = scan.last("-m");
  if (!m) return "...";
  std::string msg = scan.at(m->first);
  for (int i = m->first + 1; i < m->end; ++i) msg += std::string(" ") + scan.at(i);
  if (m->end < scan.count()) msg += ' ';
  return msg;
}
}  // namespace

E_STATUS utp(int argc, char argv[][ARG_LEN]) {
  ArgScan scan(utpCmd.args, argc, argv);
  E_STATUS st = scan.run();
  if (st != SUCCESS || scan.ended()) return st;
  // A file that cannot be opened is refused before the operator is asked: an
  // answer that cannot be kept is never asked for.
  OutFile out;
  if (scan.has("-f") && out.open(scan.word("-f"), "a+") != SUCCESS) return FAILURE;
  log(LOG_TERM, "%s", message(scan).c_str());
  if (!readAnswer()) return FAILURE;
  // The answer as it was typed, '%' and all.
  if (!out.isOpen()) return log(LOG_TERM, "%s", UTPStr);
  fputs(UTPStr, out.stream());
  return out.close();
}

constinit const CmdDecl utpCmd = {
    .help = "Pause for UTP operation",
    .args = {.name = "utp", .usage = usage, .opts = opts, .rules = {.missing = MISSING_DROPS_OPT}},
    .handler = utp};
