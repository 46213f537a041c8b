#pragma once
#include <string>
#include <vector>

#include "diagStatus.h"
#include "i2cDevMap.h"
#include "reg.h"

// A register of the main-reference temperature sensor: read at its offset
// and, where the part lets it be written, written at a second address.
struct TmpReg {
  Reg reg;
  int wrOffset;  // NO_WR_OFFSET: not writable
};
constexpr int NO_WR_OFFSET = -1;

// Temperatures and limits in eighths of a degree, the sensor's resolution.
std::string fmtEighths(int eighths);
// A temperature register pair: whole degrees in two's complement, eighths in bits 7-5 of the low byte.
int tmpEighths(unsigned char high, unsigned char low);

// One of the main reference's SA56004X sensors ("mrtmp1", "mrtmp2"): each has
// a local channel (its own die) and a remote one (a diode on the board). Its
// registers are descriptions in regVec; a read of the sensor reads every
// readable one in one access, and what is shown is decoded from what was read.
// Built afresh for every operation; nothing persists between operations.
class MRefTempSensor {
public:
  MRefTempSensor(I2cDevMap& devs, std::string name);

  // Reads every readable register; the first that cannot be read ends the walk.
  E_STATUS rdRegs();
  // The temperatures, limits and the decoded status, from the last rdRegs.
  void dispTemps() const;
  // Every register in the fan controller's dump style, from the last rdRegs.
  void dispRegs() const;
  // The register named (case does not matter) or read at the number given.
  // Null, with one line saying why, for neither.
  const TmpReg* find(const char* nameOrOffset) const;
  // Writes datum through the register's write address and reads it back at
  // its read address: FAILURE with both values on a mismatch. A write-only
  // register is written and not read back; a read-only one is refused.
  E_STATUS regWrWithRdBack(const TmpReg& r, unsigned char datum);

  std::vector<TmpReg> regVec;

private:
  unsigned char value(unsigned offset) const;
  int temp(unsigned high, unsigned low) const;
  int whole(unsigned offset) const;  // a limit of whole degrees

  I2cDevMap& devs;
  std::string name;
  unsigned address = 0;  // where the sensor answered the last read
};
