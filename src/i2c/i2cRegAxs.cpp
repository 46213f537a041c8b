#include "i2cRegAxs.h"

E_STATUS rdReg8(I2cDev* dev, unsigned char reg, unsigned char* val) {
  char buf[2] = {static_cast<char>(reg), 0};
  int cnt = 0;
  E_STATUS st = dev->rdBytes(buf, 1, &cnt, 1);
  if (st == SUCCESS) *val = static_cast<unsigned char>(buf[0]);
  return st;
}

E_STATUS wrReg8(I2cDev* dev, unsigned char reg, unsigned char val) {
  char buf[2] = {static_cast<char>(reg), static_cast<char>(val)};
  int cnt = 0;
  return dev->wrBytes(buf, 1, &cnt, 1);
}
