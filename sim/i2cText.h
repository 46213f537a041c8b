#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

namespace sim {
// Name of an errno value for trace lines ("EREMOTEIO"); any other value reads EIO.
const char* errName(int err);
// The errno value of such a name; 0 for a name not in the table.
int errNumber(const std::string& name);
// Bytes as hexadecimal pairs separated by blanks; long transfers are cut with " ...".
std::string hexBytes(const uint8_t* b, size_t n);
}  // namespace sim
