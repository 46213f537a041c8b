#pragma once
#include <cstdio>
#include <string>

#include "board.h"
#include "cmdHistory.h"

// The shell over the board: one-shot mode runs the program arguments once as
// one command line (or "file NAME" as a script), interactive mode reads lines
// at the "diag> " prompt until q or the end of the input.
class Shell {
public:
  explicit Shell(Board& board) : board(board) {}
  // Joins the program arguments into the one command line the shell runs.
  void setCmdLine(int argc, char** argv);
  E_STATUS getCmdLine(char** line);
  // One-shot: the status the command (or the worst line of the script)
  // returned itself; interactive: that of the last action.
  E_STATUS DCLI();

private:
  E_STATUS oneShot();
  E_STATUS interactive();
  bool readLine();
  E_STATUS runScriptFile(const char* name);

  Board& board;
  CmdHistory history;  // the last 20 lines typed
  // The joined program arguments, whole: a line too long to be taken is refused by the parser, not cut here.
  std::string lclCmdLine;
  char shellArgv[MAX_ARGS][ARG_LEN] = {};
  int shellArgc = 0;
};

// Runs the lines of an open script, named in messages; part of the shell loop.
// The worst status a line gave (see exitCode), FAILURE when the file cannot be
// read or an interrupt stopped the script.
E_STATUS runScript(FILE* f, const char* name, Board& board);
