#pragma once
#include <cstdint>

namespace sim {
// State of the I2C multiplexers and chips.
struct I2cState {
  uint8_t placeholder;
};
}  // namespace sim
