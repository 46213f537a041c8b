#include <cstdio>
#include <cstring>

#include "i2cChips.h"
#include "i2cTopology.h"
#include "simState.h"

namespace sim {

namespace {
// Registers by read address; the part writes most of them through a second address.
enum : uint8_t {
  LTHB = 0x00, RTHB = 0x01, SR = 0x02, CON = 0x03, CR = 0x04, LHS = 0x05, LLS = 0x06, RHS = 0x07, RLS = 0x08,
  RTLB = 0x10, RCS = 0x19, LCS = 0x20, TH = 0x21, LTLB = 0x22, MID = 0xFE, DRID = 0xFF
};
// Write address -> read address of the register it sets.
const uint8_t writeMap[][2] = {{0x09, CON}, {0x0A, CR}, {0x0B, LHS}, {0x0C, LLS}, {0x0D, RHS}, {0x0E, RLS}};
// Status bits: local high and low alarm, remote high and low, local and remote critical.
constexpr uint8_t SR_LHIGH = 0x40, SR_LLOW = 0x20, SR_RHIGH = 0x10, SR_RLOW = 0x08, SR_RCRIT = 0x02, SR_LCRIT = 0x01;
constexpr uint8_t CON_ALERT_MASK = 0x80;
constexpr int MAX_DEG = 127;

int chipId(int slot) { return slot == 0 ? CHIP_MRTMP1 : CHIP_MRTMP2; }

// Both channels measure the configured temperature.
int degrees(const SimState& s) {
  int d = static_cast<int>(s.cfg.localTempMilliC / 1000);
  return d > MAX_DEG ? MAX_DEG : d;
}
uint8_t fraction(const SimState& s) { return static_cast<uint8_t>(((s.cfg.localTempMilliC % 1000) * 8 / 1000) << 5); }

unsigned reg(const SimState& s, int slot, uint8_t r) {
  return applyStuck(s.i2c.fault[chipId(slot)], r, s.i2c.temp[slot].regs[r]);
}

uint8_t alarms(const SimState& s, int slot) {
  int t = degrees(s);
  uint8_t a = 0;
  if (t > static_cast<int>(reg(s, slot, LHS))) a |= SR_LHIGH;
  if (t < static_cast<int>(reg(s, slot, LLS))) a |= SR_LLOW;
  if (t > static_cast<int>(reg(s, slot, RHS))) a |= SR_RHIGH;
  if (t < static_cast<int>(reg(s, slot, RLS))) a |= SR_RLOW;
  if (t >= static_cast<int>(reg(s, slot, LCS))) a |= SR_LCRIT;
  if (t >= static_cast<int>(reg(s, slot, RCS))) a |= SR_RCRIT;
  return a;
}

// Measured registers come from the temperature; the status latches its alarm
// bits until it is read.
uint8_t readReg(SimState& s, int slot, uint8_t r) {
  TempSensorState& t = s.i2c.temp[slot];
  uint8_t now = alarms(s, slot);
  unsigned v;
  switch (r) {
    case LTHB:
    case RTHB: v = static_cast<unsigned>(degrees(s)); break;
    case LTLB:
    case RTLB: v = fraction(s); break;
    case SR:
      v = t.statusLatch | now;
      t.statusLatch = now;
      break;
    default: v = t.regs[r];
  }
  return static_cast<uint8_t>(applyStuck(s.i2c.fault[chipId(slot)], r, v));
}

void reset(SimState& s, int slot, int) {
  TempSensorState& t = s.i2c.temp[slot];
  memset(&t, 0, sizeof t);
  t.regs[CR] = 0x08;
  t.regs[LHS] = t.regs[RHS] = 70;
  t.regs[LCS] = t.regs[RCS] = 85;
  t.regs[TH] = 10;
  t.regs[MID] = 0xA1;
}

// A lone byte sets the pointer; with data it writes the register the address stands for.
bool write(SimState& s, int slot, const I2cChipFault& f, const uint8_t* b, size_t n, bool) {
  TempSensorState& t = s.i2c.temp[slot];
  if (n == 0) return true;
  t.ptr = b[0];
  if (n < 2) return true;
  uint8_t target = b[0];
  for (const auto& m : writeMap)
    if (m[0] == b[0]) target = m[1];
  bool writable = target != b[0] || target == RCS || target == LCS || target == TH;
  if (writable) t.regs[target] = static_cast<uint8_t>(applyStuck(f, target, b[n - 1]));
  return true;
}

bool read(SimState& s, int slot, const I2cChipFault&, uint8_t* b, size_t n, size_t) {
  uint8_t v = readReg(s, slot, s.i2c.temp[slot].ptr);
  memset(b, v, n);  // the pointer does not advance
  return true;
}

// A temperature read sets the one the sensors measure (whole degrees from the
// high byte, eighths from the low one); the status follows from it.
void learn(SimState& s, int slot, const uint8_t* b, size_t n, size_t) {
  TempSensorState& t = s.i2c.temp[slot];
  if (n == 0) return;
  uint32_t& milli = s.cfg.localTempMilliC;
  switch (t.ptr) {
    case LTHB:
    case RTHB:
      if (b[0] <= MAX_DEG) milli = b[0] * 1000u + milli % 1000;
      return;
    case LTLB:
    case RTLB: milli = milli / 1000 * 1000 + (b[0] >> 5) * 125u; return;
    case SR: return;
    default: t.regs[t.ptr] = b[0];
  }
}

bool peek(SimState& s, int slot, unsigned r, unsigned, unsigned* v, std::string& err) {
  if (r > 0xFF) {
    err = "register beyond 0xff";
    return false;
  }
  *v = r == SR ? (s.i2c.temp[slot].statusLatch | alarms(s, slot)) : readReg(s, slot, static_cast<uint8_t>(r));
  return true;
}

bool poke(SimState& s, int slot, unsigned r, unsigned, unsigned v, std::string& err) {
  if (r > 0xFF || r == LTHB || r == RTHB || r == SR || r == LTLB || r == RTLB) {
    err = "not a stored register (the temperature is set with: set temp)";
    return false;
  }
  if (!byteValue(v, err)) return false;
  s.i2c.temp[slot].regs[r] = static_cast<uint8_t>(v);
  return true;
}

std::string describe(SimState& s, int slot) {
  char buf[64];
  snprintf(buf, sizeof buf, "%d C, high set-point %u, alert %s", degrees(s), reg(s, slot, LHS),
           tempAlertOut(s, slot) ? "asserted" : "released");
  return buf;
}
}  // namespace

// Comparator-style: asserted while a temperature is above its high set-point,
// unless the configuration masks the output.
bool tempAlertOut(SimState& s, int slot) {
  if (reg(s, slot, CON) & CON_ALERT_MASK) return false;
  return alarms(s, slot) & (SR_LHIGH | SR_RHIGH);
}

const ChipModel tempModel = {reset, write, read, learn, peek, poke, describe};

}  // namespace sim
