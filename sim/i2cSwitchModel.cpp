#include <cstdio>
#include <cstring>

#include "i2cChips.h"
#include "simState.h"

namespace sim {

namespace {
// PCA9545: channel enables in bits 0-3 (bits 4-7 are its interrupt inputs,
// read-only, none pending). Old mux: channel in bits 0-1, enable in bit 2.
constexpr uint8_t PCA_MASK = 0x0F;
constexpr uint8_t MUX_MASK = 0x07;

void reset(SimState& s, int slot, int) { s.i2c.sw[slot].control = 0; }

bool writeMasked(SimState& s, int slot, const I2cChipFault& f, const uint8_t* b, size_t n, uint8_t mask) {
  if (n > 0 && !f.ignoreCtl) s.i2c.sw[slot].control = static_cast<uint8_t>(applyStuck(f, 0, b[n - 1]) & mask);
  return true;
}

bool swWrite(SimState& s, int slot, const I2cChipFault& f, const uint8_t* b, size_t n, bool) {
  return writeMasked(s, slot, f, b, n, PCA_MASK);
}
bool muxWrite(SimState& s, int slot, const I2cChipFault& f, const uint8_t* b, size_t n, bool) {
  return writeMasked(s, slot, f, b, n, MUX_MASK);
}

bool read(SimState& s, int slot, const I2cChipFault& f, uint8_t* b, size_t n, size_t) {
  memset(b, applyStuck(f, 0, s.i2c.sw[slot].control), n);
  return true;
}

void swLearn(SimState& s, int slot, const uint8_t* b, size_t n, size_t) {
  if (n > 0) s.i2c.sw[slot].control = b[n - 1] & PCA_MASK;
}
void muxLearn(SimState& s, int slot, const uint8_t* b, size_t n, size_t) {
  if (n > 0) s.i2c.sw[slot].control = b[n - 1] & MUX_MASK;
}

bool peek(SimState& s, int slot, unsigned, unsigned, unsigned* v, std::string&) {
  *v = s.i2c.sw[slot].control;
  return true;
}

bool pokeMasked(SimState& s, int slot, unsigned v, uint8_t mask, std::string& err) {
  if (v > mask) {
    err = "control byte out of range";
    return false;
  }
  s.i2c.sw[slot].control = static_cast<uint8_t>(v);
  return true;
}
bool swPoke(SimState& s, int slot, unsigned, unsigned, unsigned v, std::string& err) {
  return pokeMasked(s, slot, v, PCA_MASK, err);
}
bool muxPoke(SimState& s, int slot, unsigned, unsigned, unsigned v, std::string& err) {
  return pokeMasked(s, slot, v, MUX_MASK, err);
}

std::string describe(SimState& s, int slot) {
  char buf[32];
  snprintf(buf, sizeof buf, "control 0x%02x", s.i2c.sw[slot].control);
  return buf;
}
}  // namespace

const ChipModel switchModel = {reset, swWrite, read, swLearn, peek, swPoke, describe};
const ChipModel muxModel = {reset, muxWrite, read, muxLearn, peek, muxPoke, describe};

}  // namespace sim
