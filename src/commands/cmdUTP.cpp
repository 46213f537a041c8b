#include <cstdio>
#include <string>

#include "board.h"
#include "keyInput.h"
#include "log.h"
#include "outFile.h"

namespace {
char UTPStr[200];

const char* const head[] = {"- pause for a UTP action"};
// -f and -m need a word after them, else they are passed over; -m takes the
// words up to the next option.
const OptDecl file = wordOpt("-f").says("-f <filename>");
const OptDecl msg = wordsOpt("-m", false).says("-m <\"message to stdout\">");
const OptDecl* const opts[] = {&file, &msg};

// Reads the operator's answer, up to and including the newline. False when an
// interrupt at the prompt stopped the wait.
bool readAnswer() {
  size_t n = 0;
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
std::string message(const Args& args) {
  const OptHit* m = args.last(msg);
  if (!m) return "...";
  std::string text = args.at(m->first);
  for (int i = m->first + 1; i < m->end; ++i) text += std::string(" ") + args.at(i);
  if (m->end < args.count()) text += ' ';
  return text;
}

E_STATUS utp(const Args& args, Board&) {
  // A file that cannot be opened is refused before the operator is asked: an
  // answer that cannot be kept is never asked for.
  OutFile out;
  if (args.has(file) && out.open(args.word(file), "a+") != SUCCESS) return FAILURE;
  log(LOG_TERM, "%s", message(args).c_str());
  if (!readAnswer()) return FAILURE;
  // The answer as it was typed, '%' and all.
  if (!out.isOpen()) return log(LOG_TERM, "%s", UTPStr);
  fputs(UTPStr, out.stream());
  return out.close();
}
}  // namespace

constinit const CmdDecl utpCmd = {
    .help = "Pause for UTP operation",
    .args = {.name = "utp", .head = head, .opts = opts, .rules = {.missing = MISSING_DROPS_OPT}},
    .handler = utp};
DIAG_COMMAND(utpCmd);
