#pragma once
#include <cstdint>

namespace sim {
// The instrument has two board FPGAs: the signal host's (waveform, ramp and
// A2D engines, buffers) and the main host's (short register set). Both live
// here; the board configuration decides which one /dev/z9fpga0 presents.
enum FpgaChipId { FPGA_SH = 0, FPGA_MH = 1, FPGA_COUNT = 2 };

constexpr uint32_t FPGA_REG_WORDS = 0x40;  // decoded register words: byte addresses 0x00..0x7e
constexpr uint32_t FPGA_OBUF_WORDS = 8192;
constexpr uint32_t FPGA_SMALL_WORDS = 256;  // fgen space, oled/psocbuf space

struct FpgaChip {
  uint16_t reg[FPGA_REG_WORDS];  // stored register words (computed bits are not stored)
  uint16_t stuck0[FPGA_REG_WORDS];  // bits held at 0 by a fault
  uint16_t stuck1[FPGA_REG_WORDS];  // bits held at 1 by a fault
  uint16_t oled[FPGA_SMALL_WORDS];  // oled registers (main host), psoc buffer (signal host)
  uint64_t lastTickleNs;  // watchdog
};

// The amplitude ramp as of its last change; its present value is computed from
// the time and waveform cycles elapsed since.
struct FpgaRamp {
  uint16_t base;  // amplitude at baseNs / baseCycles
  uint8_t atZero;  // latched end-of-ramp status
  uint8_t atLimit;
  uint64_t baseNs;
  uint64_t baseCycles;
};

// The A2D sample collection.
struct FpgaAcq {
  uint8_t running;
  uint8_t continuous;  // wraps round instead of stopping at the end of the buffer
  uint8_t driver;  // started by the driver's continuous-acquisition request
  uint16_t frozenAddr;  // sample address while not running
  uint32_t resets;  // forced measurement resets seen
  uint64_t startNs;
};

struct FpgaFaults {
  uint8_t shNotOk;  // the signal host's okay output reads and acts false
  uint8_t rampNeverStarts;
  uint8_t rampNeverEnds;
  uint8_t a2dAddrUnsettled;  // the sample address never reads the same twice in a row
  uint8_t a2dStalled;        // a collection runs but its sample address never moves
  uint16_t a2dAddrReads;     // reads of it under that fault
};

struct FpgaState {
  FpgaChip chip[FPGA_COUNT];
  // Signal host only.
  uint16_t obuf[FPGA_OBUF_WORDS];
  uint16_t obufLatch;  // read pipeline: a read returns the word fetched by the previous read
  uint16_t fgen[FPGA_SMALL_WORDS];
  uint8_t waveRunning;
  uint8_t driverBufArmed;  // the driver was told to prepare its acquisition buffer
  uint64_t cycBase;  // waveform cycles counted before runStartNs
  uint64_t runStartNs;
  FpgaRamp ramp;
  FpgaAcq acq;
  FpgaFaults faults;
};
}  // namespace sim
