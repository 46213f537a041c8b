#pragma once
#include "gpmcDev.h"

// The status bits of both hosts' FPGAs, through the register port: each host's
// okay output, the all-okay line as each host reads it, the watchdogs that
// pull it, and whether the data stream is on. Reads answer in a bool; writes
// are read back. Built for the operation at hand; it keeps no state of its own.
class GpmcDevStat {
public:
  explicit GpmcDevStat(GpmcDev& reg) : reg(reg) {}

  E_STATUS shAllOK(bool* ok);
  E_STATUS msSysAllOK(bool* ok);
  E_STATUS mnSysAllOK(bool* ok);
  E_STATUS mhAllOK(bool* ok);
  E_STATUS isDataStrmEnabled(bool* enabled, bool* running);
  E_STATUS setSHOK(bool ok);
  E_STATUS setMHOK(bool ok);
  E_STATUS setSHDogEn(bool on);
  E_STATUS setMHDogEn(bool on);
  E_STATUS tickleDog(bool forMainHost);

private:
  E_STATUS readBit(unsigned long offset, unsigned short bit, bool* isSet);
  GpmcDev& reg;
};
