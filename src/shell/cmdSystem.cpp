#include <cstdlib>
#include <string>

#include "argScan.h"
#include "commands.h"

namespace {
const char* const usage[] = {"system <program_name arg1 arg2...>"};
// The words are the program's; only -h, wherever it stands, is the command's.
const OptDecl opts[] = {helpOpt()};
}  // namespace

E_STATUS system(int argc, char argv[][ARG_LEN]) {
  ArgScan scan(systemCmd.args, argc, argv);
  E_STATUS st = scan.run();
  if (st != SUCCESS || scan.ended()) return st;
  if (argc >= MAX_ARGS) return TOO_MANY_ARGS;
  std::string text;
  for (int i = 1; i < argc; ++i) {
    if (i > 1) text += ' ';
    text += argv[i];
  }
  return ::system(text.c_str()) < 0 ? FAILURE : SUCCESS;
}

constinit const CmdDecl systemCmd = {
    .help = "Execute external program", .args = {.name = "system", .usage = usage, .opts = opts}, .handler = system};
