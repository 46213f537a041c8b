#include "cmdRun.h"

#include <gtest/gtest.h>

#include "cmdLine.h"

CmdResult runCmd(CmdHandler handler, const std::string& line) {
  char argv[MAX_ARGS][ARG_LEN] = {};
  int argc = 0;
  lineParser(&argc, argv, line.c_str());
  testing::internal::CaptureStdout();
  E_STATUS st = handler(argc, argv);
  return {st, testing::internal::GetCapturedStdout()};
}
