#pragma once
#include <span>

#include "i2cDev.h"

// One row of a board's device table: the device, and the board number,
// function and part that its description line shows. The registry gives the
// device its adapter, its description and the access test with its path, and
// the address it finds on the board where that differs.
struct I2cBoardEntry {
  I2cDevDesc dev;
  const char* boardNo;
  const char* function;
  const char* part = "";
};

// The device table of one kind of board the program runs on.
struct I2cBoardTable {
  const char* label;  // host board column of the descriptions
  bool twoLevels;     // descriptions show a second-level channel column
  std::span<const I2cBoardEntry> entries;
};

extern const I2cBoardTable MAIN_HOST_TABLE;
extern const I2cBoardTable SIGNAL_HOST_TABLE;
extern const I2cBoardTable FRONT_PANEL_TABLE;
extern const I2cBoardTable MAIN_REF_TABLE;
