#pragma once
#include <optional>

#include "cmdLineObjectMap.h"
#include "devices.h"
#include "gpmcDevMap.h"
#include "i2cDevMap.h"
#include "log.h"
#include "programSem.h"
#include "psc.h"
#include "testMap.h"

// Everything the commands work with, built once by the program's entry and
// handed to every handler: the two program-wide semaphores, the FPGA's ports
// on its device, the I2C devices, the PSC link, the self-tests, the commands
// themselves, and the log, which pulses the FPGA's trigger through the board.
// Nothing below the commands reaches any of it but through what it is handed.
// Building a board costs nothing that a command does not need: the device
// files are opened and the I2C registry filled when first used.
struct Board {
  // runLine runs one command line as the shell does (the front panel's old way
  // of setting its okay output needs it).
  explicit Board(LineRunner runLine);
  Board(const Board&) = delete;
  Board& operator=(const Board&) = delete;

  // A command begins: what one command reads once (the board revision) is read afresh.
  void beginCommand() { i2c.beginCommand(); }

  ProgramSem gpmcSem{"diagGPMCSem"};
  ProgramSem i2cSem{"diagSem"};
  GpmcDevMap fpga{gpmcSem};
  I2cDevMap i2c{i2cSem};
  PscLink psc;
  Devices devices;
  // The self-tests, made on first use: most runs (a register read, version) never need them.
  TestMap& tests() {
    if (!testMap) testMap.emplace(devices);
    return *testMap;
  }
  CmdLineObjectMap commands;
  Log log{[this] { fpga.pulseTrigger(); }};

private:
  std::optional<TestMap> testMap;
};
