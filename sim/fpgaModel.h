#pragma once
#include <sys/types.h>
#include <cstddef>

namespace sim {
struct SimState;

// The board FPGA behind /dev/z9fpga0. Each call returns 0 (or a byte count) on
// success and a negative errno on failure, like the kernel.
void resetFpga(SimState& s);
// The FPGA device file exists on the main host and the signal host.
bool fpgaPresent(const SimState& s);
int fpgaIoctl(SimState& s, unsigned long request, void* arg);
ssize_t fpgaWrite(SimState& s, const void* buf, size_t n);
ssize_t fpgaRead(SimState& s, void* buf, size_t n);
}  // namespace sim
