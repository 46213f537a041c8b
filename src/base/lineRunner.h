#pragma once
#include <string>

// Runs one shell command line for a lower layer that must (the front panel's
// old way of setting its okay output goes through the front-panel FPGA's
// command). The shell installs the runner; until then a line is reported and
// not run.
void setCmdRunner(void (*run)(std::string line));
void runCmdLine(const std::string& line);
