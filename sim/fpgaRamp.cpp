// The signal host's amplitude ramp engine and the waveform cycles that pace
// its cycle ramps. Nothing runs in the background: the amplitude is computed
// from the time and cycles elapsed since the ramp's last change, so processes
// may come and go while a ramp moves.
#include <algorithm>

#include "fpgaEngine.h"
#include "simState.h"

namespace sim {

namespace {
// More updates than any 16-bit ramp can use; keeps the products below in range.
constexpr uint64_t MAX_UPDATES = 1ull << 32;

uint16_t shReg(const SimState& s, uint32_t addr) { return storedReg(s, FPGA_SH, addr); }

bool automated(uint16_t ctl) { return (ctl & RAMP_EN) && (ctl & RAMP_MODE) <= RAMP_TIMER; }

uint64_t timerPeriodNs(const SimState& s) {
  return std::max<uint64_t>(shReg(s, SH_AMP_TMR), 1) * RAMP_TICK_NS;
}

uint64_t cyclesPerUpdate(const SimState& s) { return uint64_t(shReg(s, SH_AMP_RATE)) + 1; }

uint64_t updatesSince(const SimState& s, uint16_t ctl, uint64_t now) {
  const FpgaRamp& r = s.fpga.ramp;
  uint64_t n;
  if ((ctl & RAMP_MODE) == RAMP_TIMER) {
    n = now > r.baseNs ? (now - r.baseNs) / timerPeriodNs(s) : 0;
  } else {
    uint64_t cycles = waveCycles(s.fpga, now);
    n = cycles > r.baseCycles ? (cycles - r.baseCycles) / cyclesPerUpdate(s) : 0;
  }
  return std::min(n, MAX_UPDATES);
}

// Amplitude after the given updates, moving from base toward target.
uint16_t moved(uint16_t base, uint16_t target, uint64_t step, uint64_t updates) {
  uint64_t dist = step * updates;
  if (base < target) return static_cast<uint16_t>(std::min<uint64_t>(base + dist, target));
  if (base > target) return static_cast<uint16_t>(base - std::min<uint64_t>(dist, base - target));
  return base;
}
}  // namespace

uint64_t waveCycles(const FpgaState& f, uint64_t now) {
  uint64_t running = f.waveRunning && now > f.runStartNs ? (now - f.runStartNs) / WF_CYCLE_NS : 0;
  return f.cycBase + running;
}

void setWaveRunning(FpgaState& f, bool run, uint64_t now) {
  if (run == (f.waveRunning != 0)) return;
  if (run)
    f.runStartNs = now;
  else
    f.cycBase = waveCycles(f, now);
  f.waveRunning = run;
}

RampView rampAt(const SimState& s, uint64_t now) {
  const FpgaState& f = s.fpga;
  RampView r{f.ramp.base, false, f.ramp.atZero != 0, f.ramp.atLimit != 0};
  uint16_t ctl = shReg(s, SH_RAMP_CTL);
  if (!automated(ctl) || f.faults.rampNeverStarts) return r;
  bool up = ctl & RAMP_UP;
  uint16_t target = shReg(s, SH_AMP_LIM);
  // An up ramp ends at or above its limit, a down ramp at or below it.
  if (up ? r.value < target : r.value > target)
    r.value = moved(r.value, target, shReg(s, up ? SH_AMP_STEP : SH_AMP_SD), updatesSince(s, ctl, now));
  bool done = up ? r.value >= target : r.value <= target;
  if (f.faults.rampNeverEnds) {
    r.running = true;
    return r;
  }
  r.running = !done;
  r.atLimit = r.atLimit || done;
  r.atZero = r.atZero || (done && r.value == 0);
  return r;
}

void rampBeforeWrite(SimState& s, uint64_t now) {
  FpgaRamp& ramp = s.fpga.ramp;
  uint16_t ctl = shReg(s, SH_RAMP_CTL);
  RampView r = rampAt(s, now);
  ramp.base = r.value;
  ramp.atZero = r.atZero;
  ramp.atLimit = r.atLimit;
  // A running ramp keeps its pace: the next update comes when it would have.
  uint64_t n = automated(ctl) ? updatesSince(s, ctl, now) : 0;
  if (automated(ctl) && (ctl & RAMP_MODE) == RAMP_TIMER) {
    ramp.baseNs += n * timerPeriodNs(s);
  } else if (automated(ctl)) {
    ramp.baseCycles += n * cyclesPerUpdate(s);
  } else {
    ramp.baseNs = now;
    ramp.baseCycles = waveCycles(s.fpga, now);
  }
}

void rampAfterWrite(SimState& s, uint32_t addr, uint16_t oldVal, uint64_t now) {
  FpgaRamp& ramp = s.fpga.ramp;
  uint16_t ctl = shReg(s, SH_RAMP_CTL);
  if ((ctl & RAMP_EN) && (ctl & RAMP_MODE) == RAMP_MANUAL) {
    ramp.base = shReg(s, SH_AMP_MAN);
    return;
  }
  bool started = addr == SH_RAMP_CTL && automated(ctl) && !(oldVal & RAMP_EN);
  if (!started) return;
  ramp.atZero = ramp.atLimit = 0;
  ramp.baseNs = now;
  ramp.baseCycles = waveCycles(s.fpga, now);
}

}  // namespace sim
