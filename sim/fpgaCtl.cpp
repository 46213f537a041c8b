// diag-simctl fpga ...: faults, inspection and back-door access to the board FPGAs.
#include <cstdarg>
#include <cstdio>

#include "fpgaEngine.h"
#include "kernelText.h"
#include "simCtl.h"
#include "simState.h"
#include "simStore.h"

namespace sim {

int spaceArg(const std::string& word) {
  for (int t = SP_IBUF; t <= SP_OLED; ++t)
    if (word == fpgaSpaceName(t)) return t;
  return 0;
}

uint16_t* storedWord(SimState& s, int space, FpgaChipId chip, uint32_t addr) {
  uint32_t w = addr / 2;
  switch (space) {
    case SP_REG: return w < FPGA_REG_WORDS ? &s.fpga.chip[chip].reg[w] : nullptr;
    case SP_OLED: return w < FPGA_SMALL_WORDS ? &s.fpga.chip[chip].oled[w] : nullptr;
    case SP_FGEN: return chip == FPGA_SH && w < FPGA_SMALL_WORDS ? &s.fpga.fgen[w] : nullptr;
    case SP_OBUF: return chip == FPGA_SH && w < FPGA_OBUF_WORDS ? &s.fpga.obuf[w] : nullptr;
  }
  return nullptr;
}

namespace {
using Args = std::vector<std::string>;

std::string fmt(const char* f, ...) __attribute__((format(printf, 1, 2)));
std::string fmt(const char* f, ...) {
  char buf[200];
  va_list ap;
  va_start(ap, f);
  vsnprintf(buf, sizeof buf, f, ap);
  va_end(ap);
  return buf;
}

// The optional last word naming the FPGA; the one the board presents by default.
bool chipArg(const SimState& s, const Args& a, size_t at, FpgaChipId* chip) {
  *chip = presentedFpga(s);
  if (a.size() == at) return true;
  if (a.size() != at + 1) return false;
  if (a[at] == "sh") *chip = FPGA_SH;
  else if (a[at] == "mh") *chip = FPGA_MH;
  else return false;
  return true;
}


int peek(SimState& s, const Args& a, std::string& out) {
  unsigned long addr;
  FpgaChipId chip;
  int space = a.size() >= 4 ? spaceArg(a[2]) : 0;
  if (!space || !parseNum(a[3], &addr) || !chipArg(s, a, 4, &chip)) return -1;
  uint16_t v;
  if (space == SP_REG) {
    v = addr < SPACE_BYTES[SP_REG] ? fpgaRegRead(s, chip, static_cast<uint32_t>(addr), nowNs()) : 0;
  } else if (space == SP_IBUF) {
    v = chip == FPGA_SH && addr < SPACE_BYTES[SP_IBUF] ? ibufWord(s, static_cast<uint32_t>(addr / 2)) : 0;
  } else {
    uint16_t* p = storedWord(s, space, chip, static_cast<uint32_t>(addr));
    v = p ? *p : 0;
  }
  out = fmt("0x%04x\n", v);
  return 0;
}

int poke(SimState& s, const Args& a, std::string& out) {
  unsigned long addr, val;
  FpgaChipId chip;
  int space = a.size() >= 5 ? spaceArg(a[2]) : 0;
  if (!space || !parseNum(a[3], &addr) || !parseNum(a[4], &val) || val > 0xffff || !chipArg(s, a, 5, &chip))
    return -1;
  uint16_t* p = storedWord(s, space, chip, static_cast<uint32_t>(addr));
  if (!p) {
    out = "no stored word there (the input buffer and unmapped addresses hold none)\n";
    return 2;
  }
  *p = static_cast<uint16_t>(val);
  return 0;
}

int fault(SimState& s, const Args& a) {
  FpgaFaults& f = s.fpga.faults;
  if (a.size() == 3 && a[2] == "sh-not-ok") f.shNotOk = 1;
  else if (a.size() == 3 && a[2] == "ramp-never-starts") f.rampNeverStarts = 1;
  else if (a.size() == 3 && a[2] == "ramp-never-ends") f.rampNeverEnds = 1;
  else if (a.size() == 3 && a[2] == "a2d-addr-unsettled") f.a2dAddrUnsettled = 1;
  else if (a.size() == 3 && a[2] == "a2d-stalled") f.a2dStalled = 1;
  else if (a.size() >= 6 && a[2] == "stuck") {
    unsigned long addr, bit, level;
    FpgaChipId chip;
    if (!parseNum(a[3], &addr) || addr >= 2 * FPGA_REG_WORDS || !parseNum(a[4], &bit) || bit > 15 ||
        !parseNum(a[5], &level) || level > 1 || !chipArg(s, a, 6, &chip))
      return -1;
    FpgaChip& c = s.fpga.chip[chip];
    uint16_t mask = static_cast<uint16_t>(1u << bit);
    c.stuck0[addr / 2] = static_cast<uint16_t>(level ? c.stuck0[addr / 2] & ~mask : c.stuck0[addr / 2] | mask);
    c.stuck1[addr / 2] = static_cast<uint16_t>(level ? c.stuck1[addr / 2] | mask : c.stuck1[addr / 2] & ~mask);
  } else {
    return -1;
  }
  return 0;
}

void clearFaults(SimState& s) {
  s.fpga.faults = FpgaFaults{};
  for (FpgaChip& c : s.fpga.chip)
    for (uint32_t i = 0; i < FPGA_REG_WORDS; ++i) c.stuck0[i] = c.stuck1[i] = 0;
}

const char* yesNo(bool b) { return b ? "yes" : "no"; }

std::string status(SimState& s) {
  uint64_t now = nowNs();
  const FpgaState& f = s.fpga;
  const FpgaAcq& a = f.acq;
  bool shOk = (storedReg(s, FPGA_SH, SH_MISC) & SH_MISC_OK) && !f.faults.shNotOk;
  return fmt("presented: %s host FPGA\n", presentedFpga(s) == FPGA_SH ? "signal" : "main") +
         fmt("all-okay: %s\n", allOkayLine(s, now) ? "okay" : "not okay") +
         fmt("  main host okay: %s\n", yesNo(storedReg(s, FPGA_MH, MH_MISC_CTL) & MH_MISC_OK)) +
         fmt("  signal host okay: %s\n", yesNo(shOk)) +
         fmt("  signal host watchdog expired: %s\n", yesNo(watchdogExpired(s, FPGA_SH, now))) +
         fmt("  main host watchdog expired: %s\n", yesNo(watchdogExpired(s, FPGA_MH, now))) +
         fmt("a2d: %s, address 0x%04x, forced resets %u\n",
             a.running ? (a.continuous ? "continuous" : "one-shot") : "stopped", a2dAddr(a, now), a.resets) +
         fmt("wave: %s, cycles %llu\n", f.waveRunning ? "running" : "stopped",
             static_cast<unsigned long long>(waveCycles(f, now))) +
         fmt("driver buffer prepared: %s\n", yesNo(f.driverBufArmed)) +
         fmt("faults:%s%s%s%s%s\n", f.faults.shNotOk ? " sh-not-ok" : "", f.faults.rampNeverStarts ? " ramp-never-starts" : "",
             f.faults.rampNeverEnds ? " ramp-never-ends" : "", f.faults.a2dAddrUnsettled ? " a2d-addr-unsettled" : "",
             f.faults.a2dStalled ? " a2d-stalled" : "");
}

std::string ramp(SimState& s) {
  uint16_t ctl = storedReg(s, FPGA_SH, SH_RAMP_CTL);
  const char* modes[] = {"cycle", "timer", "hold", "manual"};
  RampView r = rampAt(s, nowNs());
  return fmt("ramp: %s, mode %s, direction %s\n", (ctl & RAMP_EN) ? "enabled" : "disabled", modes[ctl & RAMP_MODE],
             (ctl & RAMP_UP) ? "up" : "down") +
         fmt("value 0x%04x, limit 0x%04x, step up 0x%04x, step down 0x%04x\n", r.value,
             storedReg(s, FPGA_SH, SH_AMP_LIM), storedReg(s, FPGA_SH, SH_AMP_STEP), storedReg(s, FPGA_SH, SH_AMP_SD)) +
         fmt("update every %u cycles or %u timer ticks\n", storedReg(s, FPGA_SH, SH_AMP_RATE) + 1u,
             storedReg(s, FPGA_SH, SH_AMP_TMR)) +
         fmt("status:%s%s%s\n", r.running ? " running" : "", r.atZero ? " at-zero" : "", r.atLimit ? " at-limit" : "");
}
}  // namespace

std::string fpgaCtlUsage() {
  return "  fpga status                   all-okay line and its sources, A2D, waveform, faults\n"
         "  fpga ramp                     state of the amplitude ramp engine\n"
         "  fpga peek SPACE ADDR [sh|mh]  word at a byte address; SPACE is reg, ibuf, obuf, fgen or oled\n"
         "  fpga poke SPACE ADDR VALUE [sh|mh]\n"
         "                                store a word, without the side effects of a bus write\n"
         "  fpga fault stuck ADDR BIT 0|1 [sh|mh]\n"
         "                                register bit stuck at 0 or 1\n"
         "  fpga fault sh-not-ok          signal host okay output held false\n"
         "  fpga fault ramp-never-starts  enabled ramps never start\n"
         "  fpga fault ramp-never-ends    ramps never report their end\n"
         "  fpga fault a2d-addr-unsettled the A2D sample address never reads the same twice\n"
         "  fpga fault a2d-stalled        A2D collections run but their sample address never moves\n"
         "  fpga clear                    clear every FPGA fault\n";
}

int fpgaCtl(SimState& s, const std::vector<std::string>& args, std::string& out) {
  const std::string sub = args.size() > 1 ? args[1] : "";
  int rc = -1;
  if (sub == "status" && args.size() == 2) {
    out = status(s);
    rc = 0;
  } else if (sub == "ramp" && args.size() == 2) {
    out = ramp(s);
    rc = 0;
  } else if (sub == "clear" && args.size() == 2) {
    clearFaults(s);
    rc = 0;
  } else if (sub == "peek") {
    rc = peek(s, args, out);
  } else if (sub == "poke") {
    rc = poke(s, args, out);
  } else if (sub == "fault") {
    rc = fault(s, args);
  }
  if (rc < 0) {
    out = "bad fpga command\n" + fpgaCtlUsage();
    rc = 2;
  }
  return rc;
}

}  // namespace sim
