#pragma once
#include <cstdint>

namespace sim {

// Failures of the kernel calls themselves, injected from outside the program:
// the driver or the adapter refuses a call, or moves fewer bytes than asked.
enum E_KOP : uint8_t { KOP_NONE, KOP_OPEN, KOP_READ, KOP_WRITE, KOP_IOCTL, KOP_MMAP };

constexpr int KFAULT_SLOTS = 8;
constexpr int KDEV_FPGA = -1;  // the device: the FPGA, or an I2C adapter number

struct KernelFault {
  uint8_t op;          // E_KOP; KOP_NONE: slot free
  uint8_t shortOnly;   // read/write: the call moves at most shortLen bytes instead of failing
  int16_t dev;
  uint32_t request;    // ioctl: the request number it hits; 0: every request
  int32_t err;         // the errno of a failed call
  uint32_t shortLen;
  uint32_t skip;       // matching calls that still succeed first
  uint32_t times;      // matching calls that fail after those; 0: every one from then on
  uint32_t hits;       // failures given so far
};

struct KernelFaults {
  KernelFault slot[KFAULT_SLOTS];
};

}  // namespace sim
