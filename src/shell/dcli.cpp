#include "dcli.h"

#include <cctype>
#include <cstring>

#include "cmdHistory.h"
#include "cmdLine.h"
#include "keyInput.h"
#include "lineEditor.h"
#include "log.h"
#include "processEnd.h"
#include "termState.h"

namespace {
const char* PROMPT = "diag> ";

void fileUsage(Board& board) { printUsage(board.commands.find("file")->decl.args); }

// After a command that an interrupt stopped: the terminal as the shell found it, and a word on why.
void afterInterrupt() {
  if (!takeInterrupt()) return;
  restoreTermState();
  log(LOG_TERM, "\ninterrupted\n");
}
}  // namespace

E_STATUS Shell::runScriptFile(const char* name) {
  FILE* f = fopen(name, "r");
  if (!f) {
    LOGERR(LOG_TERM, "unable to open file %s\n", name);
    return FAILURE;
  }
  E_STATUS status = runScript(f, name, board);
  fclose(f);
  return status;
}

E_STATUS Shell::oneShot() {
  if (!strcmp(shellArgv[1], "file")) {
    if (shellArgc > 2 && !strcmp(shellArgv[2], "-h")) {
      fileUsage(board);
      return SUCCESS;
    }
    char name[ARG_LEN] = "";
    if (shellArgc > 2) {
      int n = 0;
      for (const char* p = shellArgv[2]; *p; ++p)
        if (!isspace(static_cast<unsigned char>(*p))) name[n++] = *p;
      name[n] = '\0';
    }
    return runScriptFile(name);
  }
  char args[MAX_ARGS][ARG_LEN];
  for (int i = 1; i < shellArgc; ++i) memcpy(args[i - 1], shellArgv[i], ARG_LEN);
  E_STATUS cmdStatus = SUCCESS;
  E_STATUS st = cmdExec(shellArgc - 1, args, board, &cmdStatus);
  return st == SUCCESS ? cmdStatus : st;
}

// Reads lines until one is stored in the history; it is split from its history slot.
// False when the input has ended (its end, or Ctrl-D on an empty line).
bool Shell::readLine() {
  char line[LineEditor::MAX_CHARS];
  for (;;) {
    log(LOG_TERM, "%s", PROMPT);
    bool ended = false;
    getLine(line, PROMPT, history, board.commands.map, &ended);
    CmdHistory& h = history;
    if (ended || (line[0] == '\0' && stdinAtEof())) return false;
    if (h.put(line) == SUCCESS) {
      if (lineParser(&shellArgc, shellArgv, h.slot(h.lastSlot())) == SUCCESS && shellArgc >= 1) return true;
    }
    if (stdinAtEof()) return false;
  }
}

E_STATUS Shell::interactive() {
  // Unbuffered, so that the poll on the descriptor sees every character still to be read.
  setvbuf(stdin, nullptr, _IONBF, 0);
  // Ctrl-C stops the running command; the shell ends with q, the end of the input, or a second Ctrl-C.
  catchInterrupts(true);
  E_STATUS status = SUCCESS;
  bool quit = false;
  for (; readLine(); afterInterrupt()) {
    const char* cmd = shellArgv[0];
    if ((quit = !strcmp(cmd, "q"))) break;
    if (!cmd[0] || !strcmp(cmd, "\r") || !strcmp(cmd, "\r\n") || !strcmp(cmd, "\n")) continue;
    if (!strcmp(cmd, "file")) {
      if (shellArgc > 1 && !strcmp(shellArgv[1], "-h"))
        fileUsage(board);
      else
        status = runScriptFile(shellArgc > 1 ? shellArgv[1] : "");
      continue;
    }
    status = cmdExec(shellArgc, shellArgv, board);
  }
  // End of input (or Ctrl-D) behaves like "q".
  if (!quit) log(LOG_TERM, "\n");
  return status;
}

E_STATUS Shell::getCmdLine(char** line) {
  *line = lclCmdLine.data();
  return SUCCESS;
}

void Shell::setCmdLine(int argc, char** argv) {
  lclCmdLine.clear();
  for (int i = 0; i < argc; ++i) {
    if (i > 0) lclCmdLine += ' ';
    lclCmdLine += argv[i];
  }
}

E_STATUS Shell::DCLI() {
  char* line;
  getCmdLine(&line);
  E_STATUS st = lineParser(&shellArgc, shellArgv, line);
  if (st != SUCCESS) return st;
  if (shellArgc >= 2) return oneShot();
  return interactive();
}
