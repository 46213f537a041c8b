#include <cstdio>
#include <cstring>

#include "i2cChips.h"
#include "i2cTopology.h"
#include "simState.h"
#include "simStore.h"

namespace sim {

namespace {
enum Scope { GLOBAL, FAN, TEMP, VOLT };
enum Access { RW, RO, SEND };
// Values computed from the fan ramps, the temperature or the fault state.
enum Computed { STORED, FAN_SPEED, FAN_PWM, FANS_STATUS, TEMPERATURE, STATUS_BYTE, STATUS_WORD, CML };

struct Command {
  uint8_t code;
  uint8_t bytes;
  Scope scope;
  Access access;
  uint16_t powerOn;
  Computed computed;
};

const Command commands[] = {
    {0x00, 1, GLOBAL, RW, 0, STORED},  // PAGE (held apart)
    {0x03, 0, GLOBAL, SEND, 0, STORED},  // CLEAR_FAULTS
    {0x10, 1, GLOBAL, RW, 0x00, STORED},  // WRITE_PROTECT
    {0x19, 1, GLOBAL, RO, 0x20, STORED},  // CAPABILITY
    {0x20, 1, GLOBAL, RO, 0x40, STORED},  // VOUT_MODE
    {0x78, 1, GLOBAL, RO, 0, STATUS_BYTE},
    {0x79, 2, GLOBAL, RO, 0, STATUS_WORD},
    {0x7E, 1, GLOBAL, RO, 0, CML},  // STATUS_CML
    {0x98, 1, GLOBAL, RO, 0x11, STORED},  // PMBUS_REVISION
    {0x99, 1, GLOBAL, RO, 0x4D, STORED},  // MFR_ID
    {0x9A, 1, GLOBAL, RO, 0x53, STORED},  // MFR_MODEL
    {0x9B, 2, GLOBAL, RO, 0x3030, STORED},  // MFR_REVISION
    {0xD1, 2, GLOBAL, RW, 0x0000, STORED},  // MFR_MODE
    {0x3A, 1, FAN, RW, 0xD0, STORED},  // FAN_CONFIG_1_2: fitted, RPM mode
    {0x3B, 2, FAN, RW, 0x0BE0, STORED},  // FAN_COMMAND_1: RPM target
    {0x81, 1, FAN, RO, 0, FANS_STATUS},  // STATUS_FANS_1_2
    {0x90, 2, FAN, RO, 0, FAN_SPEED},  // READ_FAN_SPEED_1
    {0xD9, 1, FAN, RW, 0x00, STORED},  // MFR_FAULT_RESPONSE
    {0xF1, 2, FAN, RW, 0x0000, STORED},  // MFR_FAN_CONFIG
    {0xF3, 2, FAN, RO, 0, FAN_PWM},  // MFR_READ_FAN_PWM
    {0xF5, 2, FAN, RW, 0x0168, STORED},  // MFR_FAN_FAULT_LIMIT
    {0xF6, 2, FAN, RW, 0x0000, STORED},  // MFR_FAN_WARN_LIMIT
    {0xF7, 2, FAN, RW, 0x0000, STORED},  // MFR_FAN_RUN_TIME
    {0xF8, 2, FAN, RO, 0, FAN_PWM},  // MFR_FAN_PWM_AVG
    {0x4F, 2, TEMP, RW, 0x1B58, STORED},  // OT_FAULT_LIMIT, 70.00 C
    {0x51, 2, TEMP, RW, 0x157C, STORED},  // OT_WARN_LIMIT, 55.00 C
    {0x80, 1, TEMP, RO, 0x00, STORED},  // STATUS_MFR_SPECIFIC
    {0x8D, 2, TEMP, RO, 0, TEMPERATURE},  // READ_TEMPERATURE_1
    {0xD6, 2, TEMP, RO, 0, TEMPERATURE},  // MFR_TEMPERATURE_PEAK
    {0xF0, 2, TEMP, RW, 0x8000, STORED},  // MFR_TEMP_SENSOR_CONFIG
    {0x2A, 2, VOLT, RW, 0x7FFF, STORED},  // VOUT_SCALE_MONITOR
    {0x40, 2, VOLT, RW, 0x3A98, STORED},  // VOUT_OV_FAULT_LIMIT
    {0x42, 2, VOLT, RW, 0x36B0, STORED},  // VOUT_OV_WARN_LIMIT
    {0x43, 2, VOLT, RW, 0x2710, STORED},  // VOUT_UV_WARN_LIMIT
    {0x44, 2, VOLT, RW, 0x2328, STORED},  // VOUT_UV_FAULT_LIMIT
    {0x7A, 2, VOLT, RO, 0x0000, STORED},  // STATUS_VOUT
    {0x8B, 2, VOLT, RO, 0x2EE0, STORED},  // READ_VOUT, 12.000 V
    {0xD4, 2, VOLT, RO, 0x2EE0, STORED},  // MFR_VOUT_PEAK
    {0xD7, 2, VOLT, RO, 0x2EE0, STORED},  // MFR_VOUT_MIN
};

constexpr uint8_t PAGE = 0x00, FAN_COMMAND_1 = 0x3B, FAULT_LIMIT = 0xF5, WARN_LIMIT = 0xF6;
constexpr int TEMP_PAGE = 6, VOLT_PAGE = 20, TEMP_SLOT = 6, VOLT_SLOT = 7;
constexpr uint8_t FAN_FAULT = 0x80, FAN_WARN = 0x20, FAULT_BITS = 0xF0;
constexpr uint8_t CML_BAD_COMMAND = 0x80, CML_BAD_DATA = 0x40;
constexpr uint16_t STATUS_WORD_FANS = 0x0400;
constexpr uint8_t STATUS_BYTE_CML = 0x02, STATUS_BYTE_OTHER = 0x01;
constexpr unsigned FULL_RPM = 6080, FULL_PWM = 10000;

// Page slot of a page number, or -1 for a page the part does not have.
int pageSlot(unsigned page) {
  if (page < FAN_COUNT) return static_cast<int>(page);
  if (page == TEMP_PAGE) return TEMP_SLOT;
  if (page == VOLT_PAGE) return VOLT_SLOT;
  return -1;
}

Scope pageScope(unsigned page) { return page < FAN_COUNT ? FAN : page == TEMP_PAGE ? TEMP : VOLT; }

const Command* find(uint8_t code, unsigned page) {
  for (const Command& c : commands)
    if (c.code == code && (c.scope == GLOBAL || c.scope == pageScope(page))) return &c;
  return nullptr;
}

const I2cChipFault& fault(const SimState& s) { return s.i2c.fault[CHIP_FCTL]; }

uint16_t& stored(SimState& s, const Command& c, unsigned page) {
  FanCtlState& fc = s.i2c.fanCtl;
  return c.scope == GLOBAL ? fc.global[c.code] : fc.paged[pageSlot(page)][c.code];
}

unsigned storedValue(SimState& s, uint8_t code, unsigned page) {
  const Command* c = find(code, page);
  return applyStuck(fault(s), code, stored(s, *c, page));
}

// The fan's speed now: a linear ramp from the speed at the last command
// towards the command, reached after the settling time. A failed fan stands.
unsigned fanSpeed(SimState& s, int fan) {
  const FanRamp& r = s.i2c.fanCtl.fan[fan];
  if (r.failed) return 0;
  unsigned target = storedValue(s, FAN_COMMAND_1, static_cast<unsigned>(fan));
  uint64_t settleNs = static_cast<uint64_t>(s.i2c.fanCtl.settleMs) * 1000000ull;
  uint64_t elapsed = nowNs() - r.changeNs;
  if (settleNs == 0 || elapsed >= settleNs) return target;
  double done = static_cast<double>(elapsed) / static_cast<double>(settleNs);
  return static_cast<unsigned>(r.fromRpm + (static_cast<double>(target) - r.fromRpm) * done);
}

// The fault and warning bits latch while a fan runs below its limits.
void evaluateFans(SimState& s) {
  for (int f = 0; f < FAN_COUNT; ++f) {
    unsigned speed = fanSpeed(s, f);
    FanRamp& r = s.i2c.fanCtl.fan[f];
    if (speed < storedValue(s, FAULT_LIMIT, static_cast<unsigned>(f))) r.statusFans |= FAN_FAULT;
    if (speed < storedValue(s, WARN_LIMIT, static_cast<unsigned>(f))) r.statusFans |= FAN_WARN;
  }
}

bool anyFanFault(SimState& s) {
  evaluateFans(s);
  for (const FanRamp& r : s.i2c.fanCtl.fan)
    if (r.statusFans & FAULT_BITS) return true;
  return false;
}

unsigned statusByte(SimState& s) {
  return (s.i2c.fanCtl.cml ? STATUS_BYTE_CML : 0) | (anyFanFault(s) ? STATUS_BYTE_OTHER : 0);
}

unsigned computed(SimState& s, const Command& c, unsigned page) {
  FanCtlState& fc = s.i2c.fanCtl;
  int fan = static_cast<int>(page);
  switch (c.computed) {
    case FAN_SPEED: return fanSpeed(s, fan);
    case FAN_PWM: {
      unsigned pwm = storedValue(s, FAN_COMMAND_1, page) * FULL_PWM / FULL_RPM;
      return pwm > FULL_PWM ? FULL_PWM : pwm;
    }
    case FANS_STATUS: evaluateFans(s); return fc.fan[fan].statusFans;
    case TEMPERATURE: return s.cfg.localTempMilliC / 10;  // hundredths of a degree
    case STATUS_WORD: return (anyFanFault(s) ? STATUS_WORD_FANS : 0) | statusByte(s);
    case STATUS_BYTE: return statusByte(s);
    case CML: return fc.cml;
    case STORED: break;
  }
  return stored(s, c, page);
}

unsigned readValue(SimState& s, const Command& c, unsigned page) {
  return applyStuck(fault(s), c.code, computed(s, c, page)) & (c.bytes == 1 ? 0xFF : 0xFFFF);
}

void startRamp(SimState& s, int fan) {
  FanRamp& r = s.i2c.fanCtl.fan[fan];
  r.fromRpm = static_cast<uint16_t>(fanSpeed(s, fan));
  r.changeNs = nowNs();
}

void clearFaults(SimState& s) {
  s.i2c.fanCtl.cml = 0;
  for (FanRamp& r : s.i2c.fanCtl.fan) r.statusFans = 0;
}

bool badData(SimState& s) {
  s.i2c.fanCtl.cml |= CML_BAD_DATA;
  return false;
}

bool store(SimState& s, const Command& c, const uint8_t* data, size_t n) {
  FanCtlState& fc = s.i2c.fanCtl;
  if (c.access != RW || n != c.bytes) return badData(s);
  unsigned v = applyStuck(fault(s), c.code, n == 1 ? data[0] : (data[0] | (data[1] << 8)));
  if (c.code == PAGE) {
    if (pageSlot(v) < 0) return badData(s);
    fc.page = static_cast<uint8_t>(v);
    return true;
  }
  if (c.code == FAN_COMMAND_1) startRamp(s, fc.page);
  stored(s, c, fc.page) = static_cast<uint16_t>(v);
  return true;
}

// A write message is the command byte and its data; an unknown command, a
// wrong byte count or a read-only command is not acknowledged.
bool write(SimState& s, int, const I2cChipFault&, const uint8_t* b, size_t n, bool last) {
  FanCtlState& fc = s.i2c.fanCtl;
  if (n == 0) return true;
  const Command* c = find(b[0], fc.page);
  if (!c) {
    fc.cml |= CML_BAD_COMMAND;
    return false;
  }
  fc.cmd = b[0];
  if (c->access == SEND) {
    if (n != 1) return badData(s);
    if (last) clearFaults(s);  // a send byte; followed by a read it only names the command
    return true;
  }
  return n == 1 || store(s, *c, b + 1, n - 1);
}

// Data of the last command, low byte first, each read message from its first
// byte. The part acknowledges its address whatever the command: after a
// send-only command (CLEAR_FAULTS) it has no data, and the bus reads 0xFF.
bool read(SimState& s, int, const I2cChipFault&, uint8_t* b, size_t n, size_t done) {
  FanCtlState& fc = s.i2c.fanCtl;
  const Command* c = find(fc.cmd, fc.page);
  bool data = c && c->access != SEND;
  unsigned v = !data ? 0 : c->code == PAGE ? fc.page : readValue(s, *c, fc.page);
  for (size_t k = 0; k < n; ++k) {
    size_t at = done + k;
    b[k] = data && at < c->bytes ? static_cast<uint8_t>(v >> (8 * at)) : 0xFF;
  }
  return true;
}

// A stored command keeps the value read; a fan's speed becomes where its ramp
// starts (a fan that stood while commanded to run has failed); the
// temperature is the one the sensors measure.
void learn(SimState& s, int, const uint8_t* b, size_t n, size_t done) {
  FanCtlState& fc = s.i2c.fanCtl;
  const Command* c = find(fc.cmd, fc.page);
  if (!c || c->access == SEND || done != 0 || n < c->bytes) return;
  unsigned v = c->bytes == 1 ? b[0] : b[0] | (b[1] << 8);
  int fan = static_cast<int>(fc.page);
  if (c->code == PAGE) {
    if (pageSlot(v) >= 0) fc.page = static_cast<uint8_t>(v);
  } else if (c->computed == STORED) {
    stored(s, *c, fc.page) = static_cast<uint16_t>(v);
  } else if (c->computed == FAN_SPEED) {
    fc.fan[fan].failed = v == 0 && storedValue(s, FAN_COMMAND_1, fc.page) > 0;
    fc.fan[fan].fromRpm = static_cast<uint16_t>(v);
    fc.fan[fan].changeNs = nowNs();
  } else if (c->computed == TEMPERATURE) {
    s.cfg.localTempMilliC = v * 10;
  }
}

void reset(SimState& s, int, int) {
  FanCtlState& fc = s.i2c.fanCtl;
  memset(&fc, 0, sizeof fc);
  fc.settleMs = 500;
  for (const Command& c : commands) {
    if (c.scope == GLOBAL) fc.global[c.code] = c.powerOn;
    for (unsigned page = 0; page <= VOLT_PAGE; ++page)
      if (pageSlot(page) >= 0 && c.scope == pageScope(page)) fc.paged[pageSlot(page)][c.code] = c.powerOn;
  }
  uint64_t now = nowNs();
  for (int f = 0; f < FAN_COUNT; ++f) {
    fc.fan[f].fromRpm = fc.paged[f][FAN_COMMAND_1];
    fc.fan[f].changeNs = now;
  }
}

const Command* peekable(unsigned reg, unsigned page, std::string& err) {
  const Command* c = (reg <= 0xFF && pageSlot(page) >= 0) ? find(static_cast<uint8_t>(reg), page) : nullptr;
  if (!c || c->access == SEND) err = "no such command on that page";
  return c && c->access != SEND ? c : nullptr;
}

bool peek(SimState& s, int, unsigned reg, unsigned page, unsigned* v, std::string& err) {
  const Command* c = peekable(reg, page, err);
  if (!c) return false;
  *v = c->code == PAGE ? s.i2c.fanCtl.page : readValue(s, *c, page);
  return true;
}

bool poke(SimState& s, int, unsigned reg, unsigned page, unsigned v, std::string& err) {
  const Command* c = peekable(reg, page, err);
  if (!c) return false;
  if (c->computed != STORED || c->code == PAGE || v > (c->bytes == 1 ? 0xFFu : 0xFFFFu)) {
    err = "not a stored register, or value too wide";
    return false;
  }
  if (c->code == FAN_COMMAND_1) startRamp(s, static_cast<int>(page));
  stored(s, *c, page) = static_cast<uint16_t>(v);
  return true;
}

std::string describe(SimState& s, int) {
  std::string d = "page " + std::to_string(s.i2c.fanCtl.page) + ", rpm";
  for (int f = 0; f < FAN_COUNT; ++f) d += " " + std::to_string(fanSpeed(s, f)) + (s.i2c.fanCtl.fan[f].failed ? "(failed)" : "");
  return d + (anyFanFault(s) ? ", fault out" : "");
}
}  // namespace

bool fanCtlFaultOut(SimState& s) { return anyFanFault(s); }

const ChipModel fanCtlModel = {reset, write, read, learn, peek, poke, describe};

}  // namespace sim
