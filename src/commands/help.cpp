#include <cstdio>

#include "board.h"

namespace {
// Every command by name, with its help line.
E_STATUS help(const Args&, Board& board) {
  for (const auto& [name, obj] : board.commands.map) printf("%s - %s", name.c_str(), obj.helpString.c_str());
  fflush(stdout);
  return SUCCESS;
}
}  // namespace

constinit const CmdDecl helpCmd = {.help = "Show the list of commands", .args = {.name = "help"}, .handler = help};
DIAG_COMMAND(helpCmd);
