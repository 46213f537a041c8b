#pragma once
#include <functional>
#include <string>

#include "gpmcDevMap.h"
#include "i2cDevMap.h"
#include "psc.h"

// Runs one command line as the shell runs it (the front panel's old way of
// setting its okay output goes through the front-panel FPGA's command).
using LineRunner = std::function<void(const std::string& line)>;

// The parts of the instrument that the all-okay sources and the self-tests
// work with, as the board holds them.
struct Devices {
  GpmcDevMap& fpga;
  I2cDevMap& i2c;
  PscLink& psc;
  LineRunner runLine;
};
