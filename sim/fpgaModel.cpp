// The driver of /dev/z9fpga0 and the bus behind it: one 16-bit word per
// request, in one of five address spaces, on the FPGA the board presents.
#include "fpgaModel.h"

#include <cerrno>
#include <cstring>
#include <string>

#include "fpgaEngine.h"
#include "kernelText.h"
#include "simState.h"
#include "simStore.h"
#include "simTrace.h"

namespace sim {

namespace {
// The driver's request record: four 32-bit fields on every build.
struct DrvCmd {
  int32_t devtype;
  int32_t offset;
  uint32_t val;
  uint32_t ptr;
};
static_assert(sizeof(DrvCmd) == 16, "the driver's record is 16 bytes");

constexpr unsigned long RQ_READ = 0x11abc1, RQ_WRITE = 0x11abc2, RQ_ACQ_START = 0x11abc6, RQ_ACQ_STOP = 0x11abca;
constexpr int32_t CMD_PREPARE_BUFFER = 0x11abcb;
constexpr uint32_t PREPARE_BUFFER_LEN = 0x100000;

bool validSpace(int32_t t) { return t >= SP_IBUF && t <= SP_OLED; }

bool inRange(const DrvCmd& c) {
  return validSpace(c.devtype) && c.offset >= 0 && static_cast<uint32_t>(c.offset) < SPACE_BYTES[c.devtype];
}

uint16_t readWord(SimState& s, int32_t space, uint32_t word, uint64_t now) {
  FpgaState& f = s.fpga;
  FpgaChipId chip = presentedFpga(s);
  bool waveEngine = chip == FPGA_SH;
  switch (space) {
    case SP_REG: return fpgaRegRead(s, chip, word * 2, now);
    case SP_OLED: return f.chip[chip].oled[word];
    case SP_FGEN: return waveEngine ? f.fgen[word] : 0;
    case SP_IBUF: return waveEngine ? ibufWord(s, word) : 0;
  }
  if (!waveEngine) return 0;
  // The output buffer answers a read with the word fetched by the previous one.
  uint16_t v = f.obufLatch;
  f.obufLatch = f.obuf[word];
  return v;
}

void writeWord(SimState& s, int32_t space, uint32_t word, uint16_t v, uint64_t now) {
  FpgaState& f = s.fpga;
  FpgaChipId chip = presentedFpga(s);
  bool waveEngine = chip == FPGA_SH;
  switch (space) {
    case SP_REG: fpgaRegWrite(s, chip, word * 2, v, now); return;
    case SP_OLED: f.chip[chip].oled[word] = v; return;
    case SP_FGEN: if (waveEngine) f.fgen[word] = v; return;
    case SP_IBUF: return;  // filled by the A2D only
  }
  // The output buffer takes writes only while they are enabled in wfCtl.
  if (waveEngine && (storedReg(s, FPGA_SH, SH_WF_CTL) & WF_OBUF_WR_EN)) f.obuf[word] = v;
}

int rdRequest(SimState& s, DrvCmd& c) {
  // Spelt out only while the trace is written: a word is the hottest request there is.
  std::string line = tracing() ? fpgaWordText(false, c.devtype, c.offset, 0) : "";
  if (!inRange(c)) {
    traceLine(withAnswer(line, "EINVAL"));
    return -EINVAL;
  }
  c.val = readWord(s, c.devtype, static_cast<uint32_t>(c.offset) / 2, nowNs());
  if (tracing()) trace("%s -> 0x%04x", line.c_str(), c.val);
  return 0;
}

int wrRequest(SimState& s, const DrvCmd& c) {
  std::string line = tracing() ? fpgaWordText(true, c.devtype, c.offset, c.val) : "";
  if (!inRange(c)) {
    traceLine(withAnswer(line, "EINVAL"));
    return -EINVAL;
  }
  writeWord(s, c.devtype, static_cast<uint32_t>(c.offset) / 2, static_cast<uint16_t>(c.val), nowNs());
  if (tracing()) traceLine(line);
  return 0;
}

int acqRequest(SimState& s, unsigned long request, const DrvCmd& c) {
  if (!validSpace(c.devtype)) {
    trace("fpga ioctl 0x%lx devtype %d -> EINVAL", request, c.devtype);
    return -EINVAL;
  }
  FpgaAcq& a = s.fpga.acq;
  if (request == RQ_ACQ_START) {
    a2dStart(a, true, nowNs());
    a.driver = 1;
  } else {
    a2dStop(a, nowNs());
  }
  trace("fpga ioctl 0x%lx devtype %d", request, c.devtype);
  return 0;
}
}  // namespace

void resetFpga(SimState& s) { resetFpgaRegs(s, nowNs()); }

bool fpgaPresent(const SimState& s) { return s.cfg.board == BOARD_MAIN || s.cfg.board == BOARD_SIGNAL; }

int fpgaIoctl(SimState& s, unsigned long request, void* arg) {
  if (!arg) {
    trace("fpga ioctl 0x%lx -> EFAULT", request);
    return -EFAULT;
  }
  DrvCmd& c = *static_cast<DrvCmd*>(arg);
  switch (request) {
    case RQ_READ: return rdRequest(s, c);
    case RQ_WRITE: return wrRequest(s, c);
    case RQ_ACQ_START:
    case RQ_ACQ_STOP: return acqRequest(s, request, c);
  }
  trace("fpga ioctl 0x%lx devtype %d -> EINVAL", request, c.devtype);
  return -EINVAL;
}

ssize_t fpgaWrite(SimState& s, const void* buf, size_t n) {
  const std::string line = fpgaDrvWriteText(buf, n);
  if (!buf || n != sizeof(DrvCmd)) {
    traceLine(withAnswer(line, "EINVAL"));
    return -EINVAL;
  }
  DrvCmd c;
  memcpy(&c, buf, sizeof c);
  // The one record the driver's interface names for a write: no space, no pointer.
  bool ok = c.devtype == 0 && c.offset == CMD_PREPARE_BUFFER && c.val == PREPARE_BUFFER_LEN && c.ptr == 0;
  traceLine(withAnswer(line, ok ? "" : "EINVAL"));
  if (!ok) return -EINVAL;
  s.fpga.driverBufArmed = 1;
  return static_cast<ssize_t>(n);
}

ssize_t fpgaRead(SimState&, void*, size_t n) {
  trace("fpga read %zu bytes -> EINVAL", n);
  return -EINVAL;
}

}  // namespace sim
