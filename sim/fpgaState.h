#pragma once
#include <cstdint>

namespace sim {
// State of the board FPGA (both register maps, buffers, engines).
struct FpgaState {
  uint16_t placeholder;
};
}  // namespace sim
