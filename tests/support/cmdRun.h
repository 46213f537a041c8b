#pragma once
#include <string>

#include "diagStatus.h"

// Runs one command line in this process, as the shell would hand it to the
// handler, and keeps what it printed and the handler's own status.
struct CmdResult {
  E_STATUS status;
  std::string out;
};
CmdResult runCmd(CmdHandler handler, const std::string& line);
