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
  OS = 0x0F, RTLB = 0x10, RTOHB = 0x11, RTOLB = 0x12, RHSLB = 0x13, RLSLB = 0x14, RCS = 0x19, LCS = 0x20, TH = 0x21,
  LTLB = 0x22, MID = 0xFE, DRID = 0xFF
};
// Write address -> read address of the register it sets.
const uint8_t writeMap[][2] = {{0x09, CON}, {0x0A, CR}, {0x0B, LHS}, {0x0C, LLS}, {0x0D, RHS}, {0x0E, RLS}};
// Registers written at their own read address.
const uint8_t sameAddr[] = {RTOHB, RTOLB, RHSLB, RLSLB, RCS, LCS, TH};
// Status bits: local high and low alarm, remote high and low, remote diode
// open, remote and local critical.
constexpr uint8_t SR_LHIGH = 0x40, SR_LLOW = 0x20, SR_RHIGH = 0x10, SR_RLOW = 0x08, SR_OPEN = 0x04, SR_RCRIT = 0x02,
                  SR_LCRIT = 0x01;
constexpr uint8_t CON_ALERT_MASK = 0x80;
// With its diode open the remote channel reads full scale.
constexpr int OPEN_READING = 127 * 8 + 7;
constexpr int EIGHTHS_MIN = -128 * 8, EIGHTHS_MAX = 127 * 8 + 7;

int chipId(int slot) { return slot == 0 ? CHIP_MRTMP1 : CHIP_MRTMP2; }

unsigned reg(const SimState& s, int slot, uint8_t r) {
  return applyStuck(s.i2c.fault[chipId(slot)], r, s.i2c.temp[slot].regs[r]);
}

// A limit or offset as the part holds it: whole degrees, two's complement,
// with eighths in bits 7-5 of its low byte where it has one.
int eighths(const SimState& s, int slot, uint8_t high, int lowReg = -1) {
  int v = static_cast<int8_t>(reg(s, slot, high)) * 8;
  return lowReg < 0 ? v : v + static_cast<int>(reg(s, slot, static_cast<uint8_t>(lowReg)) >> 5);
}

bool remoteOpen(const SimState& s, int slot) { return s.cfg.remoteOpen[slot] != 0; }

// What a channel converts: the measured temperature, the remote one moved by
// its offset register, within the register's range.
int reading(const SimState& s, int slot, int ch) {
  if (ch == CH_REMOTE && remoteOpen(s, slot)) return OPEN_READING;
  int t = s.cfg.sensorEighths[slot][ch];
  if (ch == CH_REMOTE) t += eighths(s, slot, RTOHB, RTOLB);
  return t < EIGHTHS_MIN ? EIGHTHS_MIN : t > EIGHTHS_MAX ? EIGHTHS_MAX : t;
}

uint8_t alarms(const SimState& s, int slot) {
  int l = reading(s, slot, CH_LOCAL);
  uint8_t a = 0;
  if (l > eighths(s, slot, LHS)) a |= SR_LHIGH;
  if (l < eighths(s, slot, LLS)) a |= SR_LLOW;
  if (l >= eighths(s, slot, LCS)) a |= SR_LCRIT;
  if (remoteOpen(s, slot)) return a | SR_OPEN;  // the remote channel compares nothing
  int r = reading(s, slot, CH_REMOTE);
  if (r > eighths(s, slot, RHS, RHSLB)) a |= SR_RHIGH;
  if (r < eighths(s, slot, RLS, RLSLB)) a |= SR_RLOW;
  if (r >= eighths(s, slot, RCS)) a |= SR_RCRIT;
  return a;
}

uint8_t highByte(int t) { return static_cast<uint8_t>(t >> 3); }  // floor: -0.125 is -1 and 7 eighths
uint8_t lowByte(int t) { return static_cast<uint8_t>((t & 7) << 5); }

// Measured registers come from the temperatures; the status latches its alarm
// bits until it is read.
uint8_t readReg(SimState& s, int slot, uint8_t r) {
  TempSensorState& t = s.i2c.temp[slot];
  uint8_t now = alarms(s, slot);
  unsigned v;
  switch (r) {
    case LTHB: v = highByte(reading(s, slot, CH_LOCAL)); break;
    case LTLB: v = lowByte(reading(s, slot, CH_LOCAL)); break;
    case RTHB: v = highByte(reading(s, slot, CH_REMOTE)); break;
    case RTLB: v = lowByte(reading(s, slot, CH_REMOTE)); break;
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

// The register a write address sets, or -1 where nothing is stored (a read
// address, the one-shot command).
int writeTarget(uint8_t addr) {
  for (const auto& m : writeMap)
    if (m[0] == addr) return m[1];
  for (uint8_t r : sameAddr)
    if (r == addr) return r;
  return -1;
}

// A lone byte sets the pointer; with data it writes the register the address stands for.
bool write(SimState& s, int slot, const I2cChipFault& f, const uint8_t* b, size_t n, bool) {
  TempSensorState& t = s.i2c.temp[slot];
  if (n == 0) return true;
  t.ptr = b[0];
  if (n < 2) return true;
  int target = writeTarget(b[0]);
  if (target >= 0) t.regs[target] = static_cast<uint8_t>(applyStuck(f, static_cast<unsigned>(target), b[n - 1]));
  return true;
}

bool read(SimState& s, int slot, const I2cChipFault&, uint8_t* b, size_t n, size_t) {
  uint8_t v = readReg(s, slot, s.i2c.temp[slot].ptr);
  memset(b, v, n);  // the pointer does not advance
  return true;
}

// A temperature read sets what the sensor measures on that channel (whole
// degrees from the high byte, eighths from the low one), and the temperature
// the instrument's other sensors are taken to measure; the status follows from it.
void learn(SimState& s, int slot, const uint8_t* b, size_t n, size_t) {
  TempSensorState& t = s.i2c.temp[slot];
  if (n == 0) return;
  int16_t* ch = s.cfg.sensorEighths[slot];
  auto ambient = [&](int16_t v) { s.cfg.localTempMilliC = v < 0 ? 0u : static_cast<uint32_t>(v) * 125u; };
  auto setHigh = [&](int16_t& v) {
    v = static_cast<int16_t>(static_cast<int8_t>(b[0]) * 8 + (v & 7));
    ambient(v);
  };
  auto setLow = [&](int16_t& v) {
    v = static_cast<int16_t>((v & ~7) | (b[0] >> 5));
    ambient(v);
  };
  switch (t.ptr) {
    case LTHB: setHigh(ch[CH_LOCAL]); return;
    case RTHB: setHigh(ch[CH_REMOTE]); return;
    case LTLB: setLow(ch[CH_LOCAL]); return;
    case RTLB: setLow(ch[CH_REMOTE]); return;
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
    err = "not a stored register (the temperatures are set with: set sensor, set temp)";
    return false;
  }
  if (!byteValue(v, err)) return false;
  s.i2c.temp[slot].regs[r] = static_cast<uint8_t>(v);
  return true;
}

std::string describe(SimState& s, int slot) {
  char buf[128];
  char remote[24] = "open";
  if (!remoteOpen(s, slot)) snprintf(remote, sizeof remote, "%.3f C", reading(s, slot, CH_REMOTE) / 8.0);
  snprintf(buf, sizeof buf, "local %.3f C, remote %s, high set-point %d, alert %s", reading(s, slot, CH_LOCAL) / 8.0,
           remote, static_cast<int8_t>(reg(s, slot, LHS)), tempAlertOut(s, slot) ? "asserted" : "released");
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
