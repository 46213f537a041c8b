// The signal host's A2D collection: the sample write address that advances
// while a collection runs, and the input buffer it fills. The buffer is not
// stored: it holds a steady test signal, computed from the word's position.
#include <algorithm>
#include <cmath>

#include "fpgaEngine.h"
#include "simState.h"

namespace sim {

namespace {
constexpr double SIGNAL_HZ = 60.0;
constexpr double FRAME_HZ = 1e9 / (2.0 * A2D_WORD_NS);  // one frame: a sample word of each channel
constexpr double SIGNAL_AMPLITUDE = 0x100000;  // of a 24-bit full scale of 0x7fffff
const double PI = std::acos(-1.0);
}  // namespace

uint16_t a2dAddr(const FpgaAcq& a, uint64_t now) {
  if (!a.running) return a.frozenAddr;
  uint64_t words = now > a.startNs ? (now - a.startNs) / A2D_WORD_NS : 0;
  if (a.continuous) return static_cast<uint16_t>(words & 0xffff);
  return static_cast<uint16_t>(std::min<uint64_t>(words, A2D_LAST_ADDR));
}

uint16_t a2dStat(const FpgaAcq& a, uint64_t now) {
  bool done = a.running && !a.continuous && a2dAddr(a, now) == A2D_LAST_ADDR;
  return static_cast<uint16_t>((a.running && !done ? A2D_STAT_RUNNING : 0) | (done ? A2D_STAT_DONE : 0));
}

void a2dStart(FpgaAcq& a, bool continuous, uint64_t now) {
  a.running = 1;
  a.continuous = continuous;
  a.startNs = now;
}

void a2dStop(FpgaAcq& a, uint64_t now) {
  a.frozenAddr = a2dAddr(a, now);
  a.running = 0;
  a.driver = 0;
}

void a2dCtlWritten(FpgaState& f, uint16_t oldCtl, uint16_t newCtl, uint64_t now) {
  if ((newCtl & A2D_MEAS_RESET) && !(oldCtl & A2D_MEAS_RESET)) {
    a2dStop(f.acq, now);
    f.acq.frozenAddr = 0;
    ++f.acq.resets;
  }
  bool was = oldCtl & A2D_COLLECT, is = newCtl & A2D_COLLECT;
  if (is && !was)
    a2dStart(f.acq, newCtl & A2D_CONTINUOUS, now);
  else if (was && !is && !f.acq.driver)
    a2dStop(f.acq, now);
}

int32_t a2dSample(int channel, uint32_t frame, bool inverted) {
  double phase = 2.0 * PI * SIGNAL_HZ * frame / FRAME_HZ + (channel ? PI / 2 : 0.0);
  auto v = static_cast<int32_t>(std::lround(SIGNAL_AMPLITUDE * std::sin(phase)));
  return inverted ? -v : v;
}

uint16_t ibufWord(const SimState& s, uint32_t wordIndex) {
  uint32_t slot = wordIndex / 2;
  int channel = static_cast<int>(slot % 2);
  uint16_t ctl = storedReg(s, FPGA_SH, SH_A2D_CTL);
  int32_t v = a2dSample(channel, slot / 2, ctl & (channel ? A2D_INV1 : A2D_INV0));
  uint32_t packed = (static_cast<uint32_t>(v) & 0xffffff) << 8;
  return static_cast<uint16_t>(wordIndex % 2 ? packed >> 16 : packed & 0xffff);
}

}  // namespace sim
