// Register files of the two board FPGAs: what is stored, what is computed,
// what a write sets going, and the all-okay line they share.
#include <cstring>

#include "fpgaEngine.h"
#include "i2cModel.h"
#include "simState.h"

namespace sim {

namespace {
struct Preset {
  uint32_t addr;
  uint16_t val;
};
const Preset shPowerOn[] = {{SH_DEV_ID, 0x5348}, {SH_REV, 0x0104}, {SH_ID1, 0x5a39}, {SH_ID2, 0x0001},
                            {SH_ID3, 0x0002},    {SH_SCLK_LSW, 0x0000}, {SH_SCLK_MSW, 0x0177}, {SH_MISC, SH_MISC_OK}};
const Preset mhPowerOn[] = {{MH_DEV_ID, 0x4d48}, {MH_REV, 0x0102}, {MH_ID1, 0x5a39}, {MH_ID2, 0x0001},
                            {MH_ID3, 0x0001},    {MH_MISC_CTL, MH_MISC_OK | MH_MISC_OLED_RUN}};

bool decoded(FpgaChipId chip, uint32_t addr) { return addr <= (chip == FPGA_SH ? SH_LAST : MH_TICKLE); }

bool readOnly(FpgaChipId chip, uint32_t addr) {
  if (chip == FPGA_MH)
    return addr == MH_DEV_ID || addr == MH_REV || (addr >= MH_MISC_STAT && addr <= MH_ID3) || addr == MH_NOTOK_ADR;
  switch (addr) {
    case SH_DEV_ID: case SH_REV: case SH_A2D_ADDR: case SH_A2D_STAT: case SH_CYC_CNT: case SH_AMP_CUR:
    case SH_ID1: case SH_ID2: case SH_ID3: case SH_SCLK_LSW: case SH_SCLK_MSW: case SH_OFS_ACT:
    case SH_NOTOK_ADR:
      return true;
  }
  return false;
}

bool isRampReg(uint32_t addr) {
  switch (addr) {
    case SH_AMP_LIM: case SH_AMP_STEP: case SH_AMP_RATE: case SH_AMP_MAN: case SH_AMP_TMR: case SH_RAMP_CTL:
    case SH_AMP_SD:
      return true;
  }
  return false;
}

uint16_t withDog(SimState& s, FpgaChipId chip, uint16_t stored, uint64_t now) {
  return static_cast<uint16_t>((stored & ~ALLOK_DOG_EXPIRED) | (watchdogExpired(s, chip, now) ? ALLOK_DOG_EXPIRED : 0));
}

uint16_t shRead(SimState& s, uint32_t addr, uint16_t stored, uint64_t now) {
  FpgaState& f = s.fpga;
  switch (addr) {
    case SH_A2D_ADDR:
      // A counter that flickers: each read is one further on than the one before.
      // A converter that has stopped delivering: the collection runs, the address stays.
      if (f.faults.a2dStalled) return f.acq.frozenAddr;
      if (f.faults.a2dAddrUnsettled) return static_cast<uint16_t>(a2dAddr(f.acq, now) + ++f.faults.a2dAddrReads);
      return a2dAddr(f.acq, now);
    case SH_A2D_STAT: return a2dStat(f.acq, now);
    case SH_CYC_CNT: return static_cast<uint16_t>(waveCycles(f, now));
    case SH_AMP_CUR: return rampAt(s, now).value;
    case SH_OFS_ACT: return storedReg(s, FPGA_SH, SH_OFS_REQ);
    case SH_ALLOK: return withDog(s, FPGA_SH, stored, now);
    case SH_TICKLE: return 0;
    case SH_RAMP_CTL: {
      RampView r = rampAt(s, now);
      return static_cast<uint16_t>((stored & 0x1fff) | (r.atZero ? RAMP_AT_ZERO : 0) |
                                   (r.atLimit ? RAMP_AT_LIMIT : 0) | (r.running ? RAMP_RUNNING : 0));
    }
    case SH_MISC: {
      uint16_t v = stored & ~SH_MISC_ALLOK;
      if (f.faults.shNotOk) v &= ~SH_MISC_OK;
      return static_cast<uint16_t>(v | (allOkayLine(s, now) ? SH_MISC_ALLOK : 0));
    }
  }
  return stored;
}

uint16_t mhRead(SimState& s, uint32_t addr, uint16_t stored, uint64_t now) {
  switch (addr) {
    case MH_MISC_STAT: return static_cast<uint16_t>((stored & ~MH_STAT_ALLOK) | (allOkayLine(s, now) ? MH_STAT_ALLOK : 0));
    case MH_ALLOK: return withDog(s, FPGA_MH, stored, now);
    case MH_TICKLE: return 0;
  }
  return stored;
}

void afterWrite(SimState& s, FpgaChipId chip, uint32_t addr, uint16_t oldVal, uint16_t newVal, uint64_t now) {
  FpgaState& f = s.fpga;
  bool dogReg = addr == (chip == FPGA_SH ? SH_ALLOK : MH_ALLOK);
  // Enabling a watchdog starts its time from the moment of enabling.
  if (dogReg && (newVal & ALLOK_DOG_EN) && !(oldVal & ALLOK_DOG_EN)) f.chip[chip].lastTickleNs = now;
  if (chip != FPGA_SH) return;
  if (addr == SH_WF_CTL) setWaveRunning(f, newVal & WF_RUN, now);
  if (addr == SH_A2D_CTL) a2dCtlWritten(f, oldVal, newVal, now);
  if (isRampReg(addr)) rampAfterWrite(s, addr, oldVal, now);
}
}  // namespace

FpgaChipId presentedFpga(const SimState& s) { return s.cfg.board == BOARD_SIGNAL ? FPGA_SH : FPGA_MH; }

void resetFpgaRegs(SimState& s, uint64_t now) {
  FpgaState& f = s.fpga;
  memset(&f, 0, sizeof f);
  for (const Preset& p : shPowerOn) f.chip[FPGA_SH].reg[p.addr / 2] = p.val;
  for (const Preset& p : mhPowerOn) f.chip[FPGA_MH].reg[p.addr / 2] = p.val;
  for (FpgaChip& c : f.chip) c.lastTickleNs = now;
  f.ramp.atZero = 1;
  f.ramp.baseNs = now;
}

uint16_t storedReg(const SimState& s, FpgaChipId chip, uint32_t addr) {
  const FpgaChip& c = s.fpga.chip[chip];
  uint32_t i = (addr / 2) % FPGA_REG_WORDS;
  return static_cast<uint16_t>((c.reg[i] & ~c.stuck0[i]) | c.stuck1[i]);
}

uint16_t fpgaRegRead(SimState& s, FpgaChipId chip, uint32_t addr, uint64_t now) {
  addr &= ~1u;
  if (!decoded(chip, addr)) return 0;
  uint16_t stored = storedReg(s, chip, addr);
  uint16_t v = chip == FPGA_SH ? shRead(s, addr, stored, now) : mhRead(s, addr, stored, now);
  const FpgaChip& c = s.fpga.chip[chip];
  return static_cast<uint16_t>((v & ~c.stuck0[addr / 2]) | c.stuck1[addr / 2]);
}

void fpgaRegWrite(SimState& s, FpgaChipId chip, uint32_t addr, uint16_t val, uint64_t now) {
  addr &= ~1u;
  if (!decoded(chip, addr) || readOnly(chip, addr)) return;
  FpgaChip& c = s.fpga.chip[chip];
  if (addr == (chip == FPGA_SH ? SH_TICKLE : MH_TICKLE)) {
    c.lastTickleNs = now;
    return;
  }
  bool ramp = chip == FPGA_SH && isRampReg(addr);
  if (ramp) rampBeforeWrite(s, now);
  uint16_t oldVal = storedReg(s, chip, addr);
  c.reg[addr / 2] = val;
  afterWrite(s, chip, addr, oldVal, storedReg(s, chip, addr), now);
}

bool watchdogExpired(const SimState& s, FpgaChipId chip, uint64_t now) {
  bool enabled = storedReg(s, chip, chip == FPGA_SH ? SH_ALLOK : MH_ALLOK) & ALLOK_DOG_EN;
  uint64_t last = s.fpga.chip[chip].lastTickleNs;
  return enabled && now > last && now - last > DOG_TIMEOUT_NS;
}

bool allOkayLine(SimState& s, uint64_t now) {
  bool mhOk = storedReg(s, FPGA_MH, MH_MISC_CTL) & MH_MISC_OK;
  bool shOk = (storedReg(s, FPGA_SH, SH_MISC) & SH_MISC_OK) && !s.fpga.faults.shNotOk;
  return mhOk && shOk && !watchdogExpired(s, FPGA_SH, now) && !watchdogExpired(s, FPGA_MH, now) &&
         i2cSourcesOkay(s);
}

}  // namespace sim
