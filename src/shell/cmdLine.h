#pragma once
#include <string>

#include "board.h"

// The longest command line taken: the line buffer of 200 with its end. A
// longer one is refused (INVALID_STRING), like one of more than 20 words.
constexpr int MAX_LINE_CHARS = 199;

E_STATUS lineParser(int* argc, char argv[][ARG_LEN], const char* line);
// Looks row 0 up and runs the command: its words are scanned from its
// declaration (-h, refusals) before its handler runs. SUCCESS unless the array
// itself is bad: commands print their own verdicts, and a script goes on after
// a failing one. What the command returned itself goes to *cmdStatus:
// CMD_NOT_FOUND for an unknown command, FXN_NOT_SUPPORTED for one this build
// does not connect.
E_STATUS cmdExec(int argc, char argv[][ARG_LEN], Board& board, E_STATUS* cmdStatus = nullptr);
// Runs one command line given as text.
void execCmd(const std::string& line, Board& board);
