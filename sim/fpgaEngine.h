#pragma once
#include <cstdint>
#include <string>

#include "fpgaState.h"

// The simulator's own description of the board FPGAs, and the engines behind
// their registers. Every function takes the time, so that the model's
// behaviour over time can be checked without waiting for it.
namespace sim {
struct SimState;

// Timing of the part.
constexpr uint64_t WF_CYCLE_NS = 16666667;  // waveform cycle: 60 Hz
constexpr uint64_t RAMP_TICK_NS = 10000;  // timer-ramp tick: 10 us
constexpr uint64_t A2D_WORD_NS = 10000;  // one 32-bit sample word every 10 us (two channels at 50 kHz)
constexpr uint64_t DOG_TIMEOUT_NS = 1000000000;  // watchdog: 1 s without a tickle
constexpr uint32_t A2D_LAST_ADDR = 0xffff;  // a one-shot collection stops here

// Address spaces, numbered as the driver's device types.
enum FpgaSpace { SP_IBUF = 1, SP_OBUF = 2, SP_FGEN = 3, SP_REG = 4, SP_OLED = 5 };
constexpr uint32_t SPACE_BYTES[] = {0, 0x80000, 0x4000, 0x200, 0x1000, 0x200};

// Signal-host register byte addresses.
constexpr uint32_t
  SH_DEV_ID = 0x00, SH_REV = 0x02, SH_SCR = 0x04, SH_CLK_SEL = 0x06, SH_A2D_CTL = 0x0e, SH_A2D_ADDR = 0x10,
  SH_A2D_STAT = 0x12, SH_WF_CTL = 0x14, SH_MISC = 0x16, SH_CYC_CNT = 0x1c, SH_AMP_LIM = 0x1e, SH_AMP_STEP = 0x20,
  SH_AMP_RATE = 0x22, SH_AMP_CUR = 0x24, SH_AMP_MAN = 0x26, SH_AMP_TMR = 0x28, SH_ID1 = 0x2a, SH_ID2 = 0x2c,
  SH_ID3 = 0x2e, SH_RAMP_CTL = 0x30, SH_AMP_SD = 0x32, SH_SCLK_LSW = 0x34, SH_SCLK_MSW = 0x36,
  SH_OFS_REQ = 0x38, SH_OFS_ACT = 0x3a, SH_ALLOK = 0x44, SH_NOTOK_ADR = 0x46, SH_TICKLE = 0x48, SH_LAST = 0x62;
// Main-host register byte addresses.
constexpr uint32_t
  MH_DEV_ID = 0x00, MH_REV = 0x02, MH_SCR = 0x04, MH_MISC_CTL = 0x06, MH_MISC_STAT = 0x08, MH_ID1 = 0x0a,
  MH_ID2 = 0x0c, MH_ID3 = 0x0e, MH_ALLOK = 0x10, MH_NOTOK_ADR = 0x12, MH_TICKLE = 0x14;

// Bits.
constexpr uint16_t RAMP_MODE = 0x0003, RAMP_MANUAL = 0x0003, RAMP_TIMER = 0x0001, RAMP_UP = 0x0004,
                   RAMP_EN = 0x0008, RAMP_AT_ZERO = 0x2000, RAMP_AT_LIMIT = 0x4000, RAMP_RUNNING = 0x8000;
constexpr uint16_t WF_RUN = 0x0010, WF_OBUF_WR_EN = 0x0200;
constexpr uint16_t A2D_INV0 = 0x0001, A2D_INV1 = 0x0002, A2D_MEAS_RESET = 0x0400, A2D_COLLECT = 0x2000,
                   A2D_CONTINUOUS = 0x8000;
constexpr uint16_t A2D_STAT_RUNNING = 0x0001, A2D_STAT_DONE = 0x0002;
constexpr uint16_t SH_MISC_OK = 0x0002, SH_MISC_ALLOK = 0x4000;
constexpr uint16_t MH_MISC_OK = 0x0010, MH_MISC_OLED_RUN = 0x4000, MH_STAT_ALLOK = 0x0002;
constexpr uint16_t ALLOK_DOG_EN = 0x0001, ALLOK_DOG_EXPIRED = 0x0002;

// Which FPGA /dev/z9fpga0 presents on the configured board.
FpgaChipId presentedFpga(const SimState& s);

// The address space of a name the driver's device types have ("reg"); 0 for none.
int spaceArg(const std::string& word);
// The stored word of a space at a byte address, without the side effects of a
// bus access; nullptr where nothing is stored (the input buffer, unmapped addresses).
uint16_t* storedWord(SimState& s, int space, FpgaChipId chip, uint32_t addr);

// Register files, as the bus sees them (computed bits, stuck bits, side effects).
void resetFpgaRegs(SimState& s, uint64_t now);
uint16_t fpgaRegRead(SimState& s, FpgaChipId chip, uint32_t addr, uint64_t now);
void fpgaRegWrite(SimState& s, FpgaChipId chip, uint32_t addr, uint16_t val, uint64_t now);
// The stored word with its stuck bits applied.
uint16_t storedReg(const SimState& s, FpgaChipId chip, uint32_t addr);

// The system all-okay line and what pulls it.
bool watchdogExpired(const SimState& s, FpgaChipId chip, uint64_t now);
bool allOkayLine(SimState& s, uint64_t now);

// Waveform cycles counted while the wave runs.
uint64_t waveCycles(const FpgaState& f, uint64_t now);
void setWaveRunning(FpgaState& f, bool run, uint64_t now);

// The amplitude ramp engine.
struct RampView {
  uint16_t value;
  bool running;
  bool atZero;
  bool atLimit;
};
RampView rampAt(const SimState& s, uint64_t now);
// Called around every write to a ramp register: the ramp is restarted from
// its present value with the registers as they then are.
void rampBeforeWrite(SimState& s, uint64_t now);
void rampAfterWrite(SimState& s, uint32_t addr, uint16_t oldCtl, uint64_t now);

// The A2D collection and the input buffer it fills.
uint16_t a2dAddr(const FpgaAcq& a, uint64_t now);
uint16_t a2dStat(const FpgaAcq& a, uint64_t now);
void a2dStart(FpgaAcq& a, bool continuous, uint64_t now);
void a2dStop(FpgaAcq& a, uint64_t now);
void a2dCtlWritten(FpgaState& f, uint16_t oldCtl, uint16_t newCtl, uint64_t now);
// Word of the input buffer at a word index: two 32-bit sample words per
// frame, channel 1 then channel 2, each a 24-bit sample in bits 31:8.
uint16_t ibufWord(const SimState& s, uint32_t wordIndex);
// The 24-bit sample the buffer holds for a channel (0 or 1) in a frame.
int32_t a2dSample(int channel, uint32_t frame, bool inverted);
}  // namespace sim
