#include "i2cText.h"

#include <cerrno>
#include <cstdio>

namespace sim {

const char* errName(int err) {
  switch (err) {
    case EREMOTEIO: return "EREMOTEIO";
    case ENXIO: return "ENXIO";
    case EINVAL: return "EINVAL";
    case EPROTO: return "EPROTO";
    case EOPNOTSUPP: return "EOPNOTSUPP";
    case ENOTTY: return "ENOTTY";
    case EFAULT: return "EFAULT";
    case EBADF: return "EBADF";
    case ENOENT: return "ENOENT";
  }
  return "EIO";
}

std::string hexBytes(const uint8_t* b, size_t n) {
  constexpr size_t MAX_SHOWN = 256;
  std::string out;
  char pair[4];
  for (size_t k = 0; k < n && k < MAX_SHOWN; ++k) {
    snprintf(pair, sizeof pair, "%02x", b[k]);
    if (k) out += ' ';
    out += pair;
  }
  if (n > MAX_SHOWN) out += " ...";
  return out;
}

}  // namespace sim
