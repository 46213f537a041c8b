#include <cstring>

#include "fpgaEngine.h"
#include "i2cChips.h"
#include "simStore.h"
#include "i2cTopology.h"
#include "simState.h"

namespace sim {

namespace {
// The front-panel FPGA's general-purpose outputs that carry its okay output.
constexpr uint8_t GPO_A = 0x10, GPO_A_OKAY = 0x11;
constexpr uint8_t GPO_B = 0x11, GPO_B_OKAY = 0x0F;
constexpr int FPFPGA_SLOT = 0;
// Its input register: bit 0 is the system all-okay line as the front panel sees it.
constexpr uint8_t FP_INPUTS = 0x12, FP_ALLOK_IN = 0x01;

bool isInputReg(int slot, uint8_t reg) { return slot == FPFPGA_SLOT && reg == FP_INPUTS; }

void reset(SimState& s, int slot, int) {
  RegFileState& r = s.i2c.regFile[slot];
  memset(&r, 0, sizeof r);
  if (slot == FPFPGA_SLOT) {  // powers up okay
    r.regs[GPO_A] = GPO_A_OKAY;
    r.regs[GPO_B] = GPO_B_OKAY;
  }
}

// The first byte sets the register pointer; data bytes follow it, the pointer advancing.
bool write(SimState& s, int slot, const I2cChipFault& f, const uint8_t* b, size_t n, bool) {
  RegFileState& r = s.i2c.regFile[slot];
  if (n == 0) return true;
  r.ptr = b[0];
  for (size_t k = 1; k < n; ++k) {
    if (!isInputReg(slot, r.ptr)) r.regs[r.ptr] = static_cast<uint8_t>(applyStuck(f, r.ptr, b[k]));
    r.ptr = static_cast<uint8_t>(r.ptr + 1);
  }
  return true;
}

bool read(SimState& s, int slot, const I2cChipFault& f, uint8_t* b, size_t n, size_t) {
  RegFileState& r = s.i2c.regFile[slot];
  for (size_t k = 0; k < n; ++k) {
    unsigned v = r.regs[r.ptr];
    if (isInputReg(slot, r.ptr)) v = (v & ~FP_ALLOK_IN) | (allOkayLine(s, nowNs()) ? FP_ALLOK_IN : 0);
    b[k] = static_cast<uint8_t>(applyStuck(f, r.ptr, v));
    r.ptr = static_cast<uint8_t>(r.ptr + 1);
  }
  return true;
}

void learn(SimState& s, int slot, const uint8_t* b, size_t n, size_t) {
  RegFileState& r = s.i2c.regFile[slot];
  for (size_t k = 0; k < n; ++k) {
    if (!isInputReg(slot, r.ptr)) r.regs[r.ptr] = b[k];  // the input register follows the all-okay line
    r.ptr = static_cast<uint8_t>(r.ptr + 1);
  }
}

bool peek(SimState& s, int slot, unsigned reg, unsigned, unsigned* v, std::string& err) {
  return peekByte(s.i2c.regFile[slot].regs, sizeof s.i2c.regFile[slot].regs, reg, v, err);
}

bool poke(SimState& s, int slot, unsigned reg, unsigned, unsigned v, std::string& err) {
  return pokeByte(s.i2c.regFile[slot].regs, sizeof s.i2c.regFile[slot].regs, reg, v, err);
}

std::string describe(SimState& s, int slot) {
  std::string d = "pointer " + std::to_string(s.i2c.regFile[slot].ptr);
  if (slot == FPFPGA_SLOT) d += fpFpgaOkayOut(s, slot) ? ", okay out" : ", NOT okay out";
  return d;
}
}  // namespace

bool fpFpgaOkayOut(const SimState& s, int slot) {
  const RegFileState& r = s.i2c.regFile[slot];
  const I2cChipFault& f = s.i2c.fault[CHIP_FPFPGA];
  unsigned a = applyStuck(f, GPO_A, r.regs[GPO_A]), b = applyStuck(f, GPO_B, r.regs[GPO_B]);
  return (a & GPO_A_OKAY) == GPO_A_OKAY && (b & GPO_B_OKAY) == GPO_B_OKAY;
}

const ChipModel regFileModel = {reset, write, read, learn, peek, poke, describe};

}  // namespace sim
