#pragma once
#include "diagStatus.h"

// The program's own options, the words before the command words that begin
// with "--" (no command does): --help, --version, --exit-status. Every
// command line that works without them works the same.
struct ProgOpts {
  bool help = false;
  bool version = false;
  bool exitStatus = false;  // --exit-status, or DIAG_EXIT_STATUS=1 in the environment
  int first = 1;            // the first command word
  const char* unknown = nullptr;  // an option the program does not know
};

ProgOpts scanProgOpts(int argc, char** argv);
// The usage of the program, for --help.
void progUsage(const char* program);
// The exit status of a one-shot run that asked for one: 0 SUCCESS, 2 an
// unknown or unconnected command (a self-test this build cannot run or that
// gives no verdict: FXN_NOT_SUPPORTED) or a line or word refused (bad usage),
// 1 any other failure.
int exitCode(E_STATUS st);
