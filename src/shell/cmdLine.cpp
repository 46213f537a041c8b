#include "cmdLine.h"

#include <cstring>

#include "cmdLineObjectMap.h"
#include "log.h"

namespace {
constexpr int MAX_ARG_CHARS = 198;
char execArgv[MAX_ARGS][ARG_LEN];
int execArgc;
E_STATUS lastStatus = SUCCESS;
}  // namespace

E_STATUS lineParser(int* argc, char argv[][ARG_LEN], const char* line) {
  if (!argc || !argv) return NULL_POINTER;
  *argc = 1;
  argv[0][0] = '\0';
  if (!line) return SUCCESS;
  // Cut, the line would do something else than was asked (a number cut short, a word lost).
  if (size_t n = strlen(line); n > MAX_LINE_CHARS) {
    log(LOG_TERM, "the line is %zu characters long: at most %d are taken; nothing was run\n", n, MAX_LINE_CHARS);
    return INVALID_STRING;
  }
  bool inQuotes = false;
  int words = 1;  // counted on past the array's 20 rows
  int len = 0;
  for (int i = 0; line[i] != '\0'; ++i) {
    char c = line[i];
    if (c == '"') {
      inQuotes = !inQuotes;
    } else if (c == ' ' && !inQuotes) {
      if (++words > MAX_ARGS) continue;
      argv[*argc - 1][len] = '\0';
      ++*argc;
      len = 0;
    } else if (words <= MAX_ARGS && len < MAX_ARG_CHARS) {
      argv[*argc - 1][len++] = c;
    }
  }
  argv[*argc - 1][len] = '\0';
  if (words <= MAX_ARGS) return SUCCESS;
  // Running the first 20 words would do something else than was asked (write fewer bytes, say).
  log(LOG_TERM, "too many words in the line, %d: at most %d are taken; nothing was run\n", words, MAX_ARGS);
  return TOO_MANY_ARGS;
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
  if (it == pMap->map.end()) {
    log(LOG_TERM, "command not found\r\n");
    lastStatus = CMD_NOT_FOUND;
  } else if (!it->second->cmd) {
    log(LOG_TERM, "%s - command not connected to a function\n", argv[0]);
    lastStatus = FXN_NOT_SUPPORTED;
  } else {
    lastStatus = it->second->cmd(argc, argv);
  }
  // Commands print their own verdicts; a script goes on after a failing one.
  return SUCCESS;
}

E_STATUS lastCmdStatus() { return lastStatus; }

void execCmd(std::string line) {
  if (lineParser(&execArgc, execArgv, line.c_str()) == SUCCESS) cmdExec(execArgc, execArgv);
}
