#include "cmdRun.h"

#include <gtest/gtest.h>

#include "board.h"
#include "cmdLine.h"

// Never destroyed: the simulated kernel it closes its files through may be gone at the process's end.
Board& testBoard() {
  static Board* board = new Board([](const std::string& line) { execCmd(line, testBoard()); });
  return *board;
}

CmdResult runCmd(const std::string& line) {
  char argv[MAX_ARGS][ARG_LEN] = {};
  int argc = 0;
  testing::internal::CaptureStdout();
  E_STATUS st = lineParser(&argc, argv, line.c_str());
  if (st == SUCCESS) cmdExec(argc, argv, testBoard(), &st);
  return {st, testing::internal::GetCapturedStdout()};
}

CmdResult runRows(int argc, char argv[][ARG_LEN]) {
  testing::internal::CaptureStdout();
  E_STATUS st = INVALID_STATUS;
  cmdExec(argc, argv, testBoard(), &st);
  return {st, testing::internal::GetCapturedStdout()};
}
