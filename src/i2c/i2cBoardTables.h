#pragma once
#include <cstddef>

#include "i2cDevMap.h"

// The device tables of the boards the program runs on, with the addresses a
// board has when its sysfs tree tells nothing else.
struct I2cBoardTable {
  const char* label;  // host board column of the descriptions
  bool twoLevels;     // descriptions show a second-level channel column
  const I2cDevMap::Entry* entries;
  size_t count;
};

extern const I2cBoardTable MAIN_HOST_TABLE;
extern const I2cBoardTable SIGNAL_HOST_TABLE;
extern const I2cBoardTable FRONT_PANEL_TABLE;
extern const I2cBoardTable MAIN_REF_TABLE;
