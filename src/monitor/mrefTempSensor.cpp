#include "mrefTempSensor.h"

#include <strings.h>

#include <cstdio>
#include <cstring>

#include "i2cDevUtil.h"
#include "i2cRegAxs.h"
#include "log.h"
#include "numArg.h"

namespace {
// Read offsets the display decodes.
enum : unsigned {
  LCL_TEMP = 0x00, RMT_TEMP = 0x01, STATUS = 0x02, CONFIG = 0x03, CONV_RATE = 0x04, LCL_HIGH = 0x05, LCL_LOW = 0x06,
  RMT_HIGH = 0x07, RMT_LOW = 0x08, RMT_TEMP_LB = 0x10, RMT_OFFSET = 0x11, RMT_OFFSET_LB = 0x12, RMT_HIGH_LB = 0x13,
  RMT_LOW_LB = 0x14, RMT_CRIT = 0x19, LCL_CRIT = 0x20, HYSTERESIS = 0x21, LCL_TEMP_LB = 0x22, MFR_ID = 0xFE,
  DIE_REV = 0xFF
};
constexpr unsigned char MFR_ID_SA56004X = 0xA1;
constexpr unsigned char STATUS_OPEN = 0x04;  // the remote diode is open: the remote reading means nothing

// The bit fields are made when a sensor is first described, not when the
// program starts: a run that does not look at the sensors pays nothing for them.
const std::vector<RegFld>& fraction() {
  static const std::vector<RegFld> f = {{"eighths", 7, 5, RO}};
  return f;
}
// Status bits, most significant first, as the display names them.
const std::vector<RegFld>& statusBits() {
  static const std::vector<RegFld> f = {
      {"busy", 7, 7, RO},            {"local high", 6, 6, RO},       {"local low", 5, 5, RO},
      {"remote high", 4, 4, RO},     {"remote low", 3, 3, RO},       {"remote diode open", 2, 2, RO},
      {"remote critical", 1, 1, RO}, {"local critical", 0, 0, RO}};
  return f;
}

TmpReg row(const char* name, unsigned rd, int wr, E_ACCESS access, std::vector<RegFld> fields = {}) {
  return TmpReg{Reg{name, rd, 8, 0, false, 0, access, std::move(fields)}, wr};
}

// The one-shot command is written only; it has no read address of its own.
constexpr unsigned ONE_SHOT_WR = 0x0F;
constexpr unsigned NO_RD_OFFSET = 0x100;

bool readable(const TmpReg& r) { return r.reg.access != WO; }

// "0x05" or "--" for an address the register does not have.
std::string addrText(unsigned a) {
  char buf[8] = "--";
  if (a <= 0xFF) snprintf(buf, sizeof buf, "0x%02x", a);
  return buf;
}
}  // namespace

std::string fmtEighths(int eighths) {
  char buf[24];
  int mag = eighths < 0 ? -eighths : eighths;
  snprintf(buf, sizeof buf, "%s%d.%03d", eighths < 0 ? "-" : "", mag / 8, (mag % 8) * 125);
  return buf;
}

int tmpEighths(unsigned char high, unsigned char low) {
  return static_cast<signed char>(high) * 8 + static_cast<int>(fieldValue(low, fraction()[0]));
}

MRefTempSensor::MRefTempSensor(I2cDevMap& devs, std::string name) : devs(devs), name(std::move(name)) {
  regVec = {
      row("LCL_TEMP", LCL_TEMP, NO_WR_OFFSET, RO),
      row("LCL_TEMP_LB", LCL_TEMP_LB, NO_WR_OFFSET, RO, fraction()),
      row("RMT_TEMP", RMT_TEMP, NO_WR_OFFSET, RO),
      row("RMT_TEMP_LB", RMT_TEMP_LB, NO_WR_OFFSET, RO, fraction()),
      row("STATUS", STATUS, NO_WR_OFFSET, BF, statusBits()),
      row("CONFIG", CONFIG, 0x09, RW),
      row("CONV_RATE", CONV_RATE, 0x0A, RW),
      row("LCL_HIGH", LCL_HIGH, 0x0B, RW),
      row("LCL_LOW", LCL_LOW, 0x0C, RW),
      row("RMT_HIGH", RMT_HIGH, 0x0D, RW),
      row("RMT_HIGH_LB", RMT_HIGH_LB, RMT_HIGH_LB, RW, fraction()),
      row("RMT_LOW", RMT_LOW, 0x0E, RW),
      row("RMT_LOW_LB", RMT_LOW_LB, RMT_LOW_LB, RW, fraction()),
      row("RMT_OFFSET", RMT_OFFSET, RMT_OFFSET, RW),
      row("RMT_OFFSET_LB", RMT_OFFSET_LB, RMT_OFFSET_LB, RW, fraction()),
      row("ONE_SHOT", NO_RD_OFFSET, ONE_SHOT_WR, WO),
      row("RMT_CRIT", RMT_CRIT, RMT_CRIT, RW),
      row("LCL_CRIT", LCL_CRIT, LCL_CRIT, RW),
      row("HYSTERESIS", HYSTERESIS, HYSTERESIS, RW),
      row("MFR_ID", MFR_ID, NO_WR_OFFSET, RO),
      row("DIE_REV", DIE_REV, NO_WR_OFFSET, RO),
  };
}

E_STATUS MRefTempSensor::rdRegs() {
  I2cDevUtil util(devs, name, true);
  if (util.stat() != SUCCESS) return util.stat();
  address = util.dev()->address;
  // Each high byte is read before its low byte, the order in which the part
  // keeps a pair from one conversion.
  for (TmpReg& r : regVec) {
    if (!readable(r)) continue;
    unsigned char v = 0;
    E_STATUS st = rdReg8(util.dev(), static_cast<unsigned char>(r.reg.offset), &v);
    if (st != SUCCESS) {
      LOGERR(LOG_TERM, "%s(0x%02x): register %s (0x%02x) not read\n", name.c_str(), address, r.reg.pName,
             r.reg.offset);
      return st;
    }
    r.reg.regContents = v;
  }
  return SUCCESS;
}

unsigned char MRefTempSensor::value(unsigned offset) const {
  for (const TmpReg& r : regVec)
    if (r.reg.offset == offset) return static_cast<unsigned char>(r.reg.regContents);
  return 0;
}

int MRefTempSensor::temp(unsigned high, unsigned low) const { return tmpEighths(value(high), value(low)); }
int MRefTempSensor::whole(unsigned offset) const { return tmpEighths(value(offset), 0); }

void MRefTempSensor::dispTemps() const {
  const unsigned char status = value(STATUS);
  const unsigned char mfr = value(MFR_ID);
  log(LOG_TERM, "%s(0x%02x): manufacturer 0x%02x%s, die revision 0x%02x\n", name.c_str(), address, mfr,
      mfr == MFR_ID_SA56004X ? "" : " (not an SA56004X)", value(DIE_REV));
  auto deg = [](int eighths) { return fmtEighths(eighths) + " C"; };
  const std::string remote = status & STATUS_OPEN ? std::string("diode open") : deg(temp(RMT_TEMP, RMT_TEMP_LB));
  log(LOG_TERM, "  local  %-12s high %s, low %s, critical %s\n", deg(temp(LCL_TEMP, LCL_TEMP_LB)).c_str(),
      fmtEighths(whole(LCL_HIGH)).c_str(), fmtEighths(whole(LCL_LOW)).c_str(),
      fmtEighths(whole(LCL_CRIT)).c_str());
  log(LOG_TERM, "  remote %-12s high %s, low %s, critical %s, offset %s\n", remote.c_str(),
      fmtEighths(temp(RMT_HIGH, RMT_HIGH_LB)).c_str(), fmtEighths(temp(RMT_LOW, RMT_LOW_LB)).c_str(),
      fmtEighths(whole(RMT_CRIT)).c_str(), fmtEighths(temp(RMT_OFFSET, RMT_OFFSET_LB)).c_str());
  log(LOG_TERM, "  hysteresis %u C, configuration 0x%02x, conversion rate 0x%02x\n", value(HYSTERESIS),
      value(CONFIG), value(CONV_RATE));
  std::string bits;
  for (const RegFld& f : statusBits())
    if (fieldValue(status, f)) bits += (bits.empty() ? "" : ", ") + f.name;
  log(LOG_TERM, "  status 0x%02x: %s\n", status, bits.empty() ? "no alarm" : bits.c_str());
}

// One line a register: its name, its read and write addresses, dots to the
// value's column, and the value.
void MRefTempSensor::dispRegs() const {
  constexpr size_t VALUE_COLUMN = 52;
  for (const TmpReg& r : regVec) {
    const std::string addrs = "(" + addrText(r.reg.offset) + "/" + addrText(static_cast<unsigned>(r.wrOffset)) + ")";
    const size_t used = strlen(r.reg.pName) + 1 + addrs.size();
    const std::string dots = dotsTo(used, VALUE_COLUMN);
    if (readable(r))
      log(LOG_TERM, "%s %s%s0x%02x\n", r.reg.pName, addrs.c_str(), dots.c_str(), r.reg.regContents);
    else
      log(LOG_TERM, "%s %s%swrite only\n", r.reg.pName, addrs.c_str(), dots.c_str());
  }
}

const TmpReg* MRefTempSensor::find(const char* nameOrOffset) const {
  unsigned long offset = 0;
  const bool byOffset = parseNumArg(nameOrOffset, 0, 0xFF, &offset) == NUM_ARG_OK;
  for (const TmpReg& r : regVec)
    if (byOffset ? r.reg.offset == offset : strcasecmp(r.reg.pName, nameOrOffset) == 0) return &r;
  if (!byOffset) {
    LOGERR(LOG_TERM, "%s has no register %s\n", name.c_str(), nameOrOffset);
    return nullptr;
  }
  for (const TmpReg& r : regVec) {
    if (r.wrOffset != static_cast<int>(offset)) continue;
    if (r.reg.access == WO) return &r;  // its only address
    LOGERR(LOG_TERM, "0x%02lx is where %s is written: name it by its read address 0x%02x or as %s\n", offset,
           r.reg.pName, r.reg.offset, r.reg.pName);
    return nullptr;
  }
  LOGERR(LOG_TERM, "%s has no register read at 0x%02lx\n", name.c_str(), offset);
  return nullptr;
}

E_STATUS MRefTempSensor::regWrWithRdBack(const TmpReg& r, unsigned char datum) {
  if (r.wrOffset == NO_WR_OFFSET) {
    LOGERR(LOG_TERM, "%s (0x%02x) is read-only\n", r.reg.pName, r.reg.offset);
    return BAD_PARAMETER;
  }
  I2cDevUtil util(devs, name, true);
  if (util.stat() != SUCCESS) return util.stat();
  E_STATUS st = wrReg8(util.dev(), static_cast<unsigned char>(r.wrOffset), datum);
  if (st != SUCCESS || !readable(r)) return st;
  unsigned char rd = 0;
  st = rdReg8(util.dev(), static_cast<unsigned char>(r.reg.offset), &rd);
  if (st != SUCCESS) return st;
  if (rd != datum) {
    LOGERR(LOG_TERM, "FAILURE - %s %s: wrote 0x%02x at 0x%02x, read back 0x%02x at 0x%02x\n", name.c_str(),
           r.reg.pName, datum,
           static_cast<unsigned>(r.wrOffset), rd, r.reg.offset);
    return FAILURE;
  }
  return SUCCESS;
}
