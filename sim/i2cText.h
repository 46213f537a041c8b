#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

namespace sim {
// Name of an errno value for trace lines ("EREMOTEIO").
const char* errName(int err);
// Bytes as hexadecimal pairs separated by blanks; long transfers are cut with " ...".
std::string hexBytes(const uint8_t* b, size_t n);
}  // namespace sim
