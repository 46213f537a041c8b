#pragma once
#include "diagStatus.h"
#include "i2cDev.h"

// One byte register of a chip that is set up (its path selected, its adapter
// open): a register number, then the value, in the chip's own mode.
E_STATUS rdReg8(I2cDev* dev, unsigned char reg, unsigned char* val);
E_STATUS wrReg8(I2cDev* dev, unsigned char reg, unsigned char val);
