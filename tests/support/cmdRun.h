#pragma once
#include <string>

#include "board.h"
#include "testEnv.h"

// The board of the test process, built once as the program's entry builds its own.
Board& testBoard();

// Runs one command line in this process through the dispatcher, as the shell
// does, on the test process's board, and keeps what it printed and the
// command's own status (a refused line's too).
struct CmdResult {
  E_STATUS status;
  std::string out;
};
CmdResult runCmd(const std::string& line);
// The same with the rows of the argument array as given (words no line could hold).
CmdResult runRows(int argc, char argv[][ARG_LEN]);

// A fresh instrument, and the test process's registry built: its start-up probe is no part of what a test looks at.
struct FreshBoard : FreshSim {
  void SetUp() override {
    FreshSim::SetUp();
    testBoard().i2c.devices();
  }
};
