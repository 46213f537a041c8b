#include <cstdio>

#include "cmdLineObjectMap.h"
#include "commands.h"

E_STATUS help(int argc, char argv[][ARG_LEN]) {
  for (const auto& [name, obj] : CmdLineObjectMap::getCmdLineMap()->map)
    printf("%s - %s", name.c_str(), obj->helpString.c_str());
  fflush(stdout);
  return SUCCESS;
}
