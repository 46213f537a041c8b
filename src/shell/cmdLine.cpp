#include "cmdLine.h"

#include "cmdLineObjectMap.h"
#include "log.h"

namespace {
constexpr int MAX_LINE = 200;
constexpr int MAX_ARG_CHARS = 198;
char execArgv[MAX_ARGS][ARG_LEN];
int execArgc;
}  // namespace

E_STATUS lineParser(int* argc, char argv[][ARG_LEN], const char* line) {
  if (!argc || !argv) return NULL_POINTER;
  *argc = 1;
  argv[0][0] = '\0';
  if (!line) return SUCCESS;
  bool inQuotes = false;
  bool full = false;  // the array's 20 rows are used: the rest of the line is dropped
  int len = 0;
  for (int i = 0; line[i] != '\0' && i < MAX_LINE && !full; ++i) {
    char c = line[i];
    if (c == '"') {
      inQuotes = !inQuotes;
    } else if (c == ' ' && !inQuotes) {
      argv[*argc - 1][len] = '\0';
      if (*argc == MAX_ARGS) {
        full = true;
      } else {
        ++*argc;
        len = 0;
      }
    } else if (len < MAX_ARG_CHARS) {
      argv[*argc - 1][len++] = c;
    }
  }
  argv[*argc - 1][len] = '\0';
  return SUCCESS;
}

E_STATUS cmdExec(int argc, char argv[][ARG_LEN]) {
  if (argc < 1) return BAD_PARAMETER;
  if (!argv) return NULL_POINTER;
  CmdLineObjectMap* pMap = CmdLineObjectMap::getCmdLineMap();
  if (!pMap) {
    log(LOG_TERM, "pCLOMap is NULL, exiting\r\n");
    return NULL_POINTER;
  }
  auto it = pMap->map.find(argv[0]);
  if (it == pMap->map.end())
    log(LOG_TERM, "command not found\r\n");
  else if (!it->second->cmd)
    log(LOG_TERM, "%s - command not connected to a function\n", escPct(argv[0]).c_str());
  else
    it->second->cmd(argc, argv);
  // Commands print their own verdicts; a script goes on after a failing one.
  return SUCCESS;
}

void execCmd(std::string line) {
  if (lineParser(&execArgc, execArgv, line.c_str()) == SUCCESS) cmdExec(execArgc, execArgv);
}
