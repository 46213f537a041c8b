#pragma once
#include "diagStatus.h"
#include "i2cDev.h"

// One byte register of an SMBus chip that is set up (its path selected, its
// adapter open): a read or write byte data with the register as command. The
// sensors and the front panel's FPGA are such chips; no plain chip of the
// boards has byte registers.
E_STATUS rdReg8(I2cDev* dev, unsigned char reg, unsigned char* val);
E_STATUS wrReg8(I2cDev* dev, unsigned char reg, unsigned char val);
