#include <cstdlib>
#include <string>

#include "board.h"

namespace {
// The words are the program's; -h among them asks for this usage.
const OptDecl program = restWords("program").says("system <program_name arg1 arg2...>");
const OptDecl* const opts[] = {&program};

E_STATUS system(const Args& args, Board&) {
  if (args.count() >= MAX_ARGS) return TOO_MANY_ARGS;
  std::string text;
  for (int i = 1; i < args.count(); ++i) {
    if (i > 1) text += ' ';
    text += args.at(i);
  }
  return ::system(text.c_str()) < 0 ? FAILURE : SUCCESS;
}
}  // namespace

constinit const CmdDecl systemCmd = {
    .help = "Execute external program", .args = {.name = "system", .opts = opts}, .handler = system};
DIAG_COMMAND(systemCmd);
