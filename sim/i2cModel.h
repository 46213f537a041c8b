#pragma once
#include <sys/types.h>
#include <cstddef>

namespace sim {
struct SimState;

// What an open /dev/i2c-N descriptor remembers: its adapter and the client
// address set with I2C_SLAVE_FORCE or I2C_SLAVE.
struct I2cHandle {
  int adapter;
  int addr;
};

// The I2C adapters, multiplexers and chips. Each call returns 0 (or a byte
// count, or an SMBus result) on success and a negative errno on failure.
void resetI2c(SimState& s);
bool i2cAdapterExists(const SimState& s, int adapter);
int i2cIoctl(SimState& s, I2cHandle& h, unsigned long request, void* arg);
ssize_t i2cRead(SimState& s, I2cHandle& h, void* buf, size_t n);
ssize_t i2cWrite(SimState& s, I2cHandle& h, const void* buf, size_t n);

// The I2C chips' share of the all-okay line: true while none of them pulls it
// (fan controller fault output, main-reference over-temperature output,
// front-panel FPGA okay outputs).
bool i2cSourcesOkay(SimState& s);
}  // namespace sim
