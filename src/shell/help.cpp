#include <cstdio>

#include "cmdLineObjectMap.h"
#include "commands.h"

// Every command by name, with its help line; the arguments are ignored.
E_STATUS help(int argc, char argv[][ARG_LEN]) {
  for (const auto& [name, obj] : CmdLineObjectMap::getCmdLineMap()->map)
    printf("%s - %s", name.c_str(), obj->helpString.c_str());
  fflush(stdout);
  return SUCCESS;
}

constinit const CmdDecl helpCmd = {.help = "Show the list of commands", .args = {.name = "help"}, .handler = help};
