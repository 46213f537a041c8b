#pragma once
#include <cstdint>

namespace sim {

// Counts of the simulated I2C chips across every board (i2cTopology.h names
// them and says which are fitted where) and of their models' state slots.
constexpr int I2C_CHIPS = 26;
constexpr int I2C_SWITCHES = 6;  // PCA9545 switches and old 4-channel muxes
constexpr int I2C_EEPROMS = 13;
constexpr int I2C_REGFILES = 4;  // front-panel FPGA and the simple register chips
constexpr int I2C_TEMPS = 2;
constexpr int FAN_COUNT = 6;
constexpr int FAN_PAGE_SLOTS = 8;  // pages 0-5 (fans), 6 (temperature), 20 (voltage)
constexpr int EEPROM_BYTES = 4096;

// Faults injected from outside the program.
struct I2cChipFault {
  uint8_t absent;     // not fitted: no acknowledge, nothing behind it answers
  uint8_t nack;       // fitted, routes as before, but does not acknowledge its address
  uint8_t ignoreCtl;  // a switch or mux that acknowledges its control byte and keeps its selection
  uint8_t stuckSet;   // stuckReg has bits stuck at 0 (stuck0) and at 1 (stuck1)
  uint16_t stuckReg;
  uint16_t stuck0;
  uint16_t stuck1;
  uint8_t vanishing;  // answers ackLeft more transfers, then no more (unplugged in the middle of a command)
  uint16_t ackLeft;
};

struct SwitchState {
  uint8_t control;
};

// 24LC32A: 4 KiB, two address bytes, 32-byte pages, sequential read.
struct EepromState {
  uint16_t ptr;
  uint8_t mem[EEPROM_BYTES];
  uint64_t busyUntilNs;  // storing a written page until then: no acknowledge
};

// Byte registers behind a register pointer that advances with each byte.
struct RegFileState {
  uint8_t ptr;
  uint8_t regs[256];
};

// SA56004X: registers by read address; the status alarm bits latch until read.
struct TempSensorState {
  uint8_t ptr;
  uint8_t statusLatch;
  uint8_t regs[256];
};

// MAX31785: one speed ramp per fan, from the speed at the last command
// change towards the commanded speed.
struct FanRamp {
  uint64_t changeNs;
  uint16_t fromRpm;
  uint8_t failed;
  uint8_t statusFans;  // latched STATUS_FANS_1_2 bits
};

struct FanCtlState {
  uint8_t page;
  uint8_t cmd;
  uint8_t cml;  // STATUS_CML
  uint8_t pad;
  uint32_t settleMs;
  uint16_t global[256];                  // commands that are the same on every page
  uint16_t paged[FAN_PAGE_SLOTS][256];   // per-page commands
  FanRamp fan[FAN_COUNT];
};

// State of the I2C multiplexers and chips.
struct I2cState {
  I2cChipFault fault[I2C_CHIPS];
  SwitchState sw[I2C_SWITCHES];
  EepromState eeprom[I2C_EEPROMS];
  RegFileState regFile[I2C_REGFILES];
  TempSensorState temp[I2C_TEMPS];
  FanCtlState fanCtl;
  // The kernel's SMBus emulation reads into a buffer of its own that it does
  // not clear: what a transfer leaves there, the next one starts with.
  uint8_t smbusScratch[2 + 32];
};

}  // namespace sim
