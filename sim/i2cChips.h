#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

#include "i2cState.h"

namespace sim {
struct SimState;

// One chip model at the level of I2C messages: a write message of bytes, a
// read message of n bytes, each after the chip acknowledged its address.
// write and read return false where the chip does not acknowledge; last
// tells a write that the transaction ends with it (a stop, not a repeated start).
// done is the count of bytes this read message has already carried: a message
// whose length its first byte sets (an SMBus block read) is read in two parts,
// and a chip that starts its reply afresh with each message goes on from there.
// peek and poke reach a register without bus traffic (for the control
// surface); they return false with a reason in err. learn takes the bytes a
// read message gave on the instrument (from a recording of the program) as
// what the chip holds where that read found them, and moves on as a read
// does; what the part measures or computes is set where the model can.
struct ChipModel {
  void (*reset)(SimState& s, int slot, int id);
  bool (*write)(SimState& s, int slot, const I2cChipFault& f, const uint8_t* b, size_t n, bool last);
  bool (*read)(SimState& s, int slot, const I2cChipFault& f, uint8_t* b, size_t n, size_t done);
  void (*learn)(SimState& s, int slot, const uint8_t* b, size_t n, size_t done);
  bool (*peek)(SimState& s, int slot, unsigned reg, unsigned page, unsigned* value, std::string& err);
  bool (*poke)(SimState& s, int slot, unsigned reg, unsigned page, unsigned value, std::string& err);
  std::string (*describe)(SimState& s, int slot);
};

extern const ChipModel switchModel;   // PCA9545: one bit per channel
extern const ChipModel muxModel;      // old 4-channel mux: channel | 0x04
extern const ChipModel eepromModel;   // 24LC32A
extern const ChipModel fanCtlModel;   // MAX31785
extern const ChipModel tempModel;     // SA56004X
extern const ChipModel regFileModel;  // front-panel FPGA, HV microcontroller, I2C-to-SPI bridges

const ChipModel& chipModel(int id);

// A stored or read value as the chip's stuck bits make it.
inline unsigned applyStuck(const I2cChipFault& f, unsigned reg, unsigned value) {
  if (!f.stuckSet || f.stuckReg != reg) return value;
  return (value & ~static_cast<unsigned>(f.stuck0)) | f.stuck1;
}

// Values that a byte register can take, for poke.
inline bool byteValue(unsigned value, std::string& err) {
  if (value <= 0xFF) return true;
  err = "value does not fit in a byte";
  return false;
}

// peek and poke of a chip's byte memory or register file of size bytes.
inline bool peekByte(const uint8_t* mem, unsigned size, unsigned reg, unsigned* value, std::string& err) {
  if (reg >= size) {
    err = "register or address beyond the chip's " + std::to_string(size) + " bytes";
    return false;
  }
  *value = mem[reg];
  return true;
}
inline bool pokeByte(uint8_t* mem, unsigned size, unsigned reg, unsigned value, std::string& err) {
  unsigned old;
  if (!peekByte(mem, size, reg, &old, err) || !byteValue(value, err)) return false;
  mem[reg] = static_cast<uint8_t>(value);
  return true;
}

// Fault output of the fan controller, over-temperature output of the main
// reference sensor, okay output of the front-panel FPGA.
bool fanCtlFaultOut(SimState& s);
bool tempAlertOut(SimState& s, int slot);
bool fpFpgaOkayOut(const SimState& s, int slot);
}  // namespace sim
