#include "cmdLine.h"

#include <cstring>

#include "log.h"

namespace {
constexpr int MAX_ARG_CHARS = 198;
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

E_STATUS cmdExec(int argc, char argv[][ARG_LEN], Board& board, E_STATUS* cmdStatus) {
  if (argc < 1) return BAD_PARAMETER;
  if (!argv) return NULL_POINTER;
  board.beginCommand();
  E_STATUS status = SUCCESS;
  const CmdLineObject* obj = board.commands.find(argv[0]);
  if (!obj) {
    log(LOG_TERM, "command not found\r\n");
    status = CMD_NOT_FOUND;
  } else if (!obj->cmd) {
    log(LOG_TERM, "%s - command not connected to a function\n", argv[0]);
    status = FXN_NOT_SUPPORTED;
  } else {
    Args args(obj->decl.args, argc, argv);
    status = args.scan(obj->decl.help);
    if (status == SUCCESS && !args.helped()) status = obj->cmd(args, board);
  }
  if (cmdStatus) *cmdStatus = status;
  return SUCCESS;
}

void execCmd(const std::string& line, Board& board) {
  char argv[MAX_ARGS][ARG_LEN];
  int argc = 0;
  if (lineParser(&argc, argv, line.c_str()) == SUCCESS) cmdExec(argc, argv, board);
}
