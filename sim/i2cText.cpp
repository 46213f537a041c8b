#include "i2cText.h"

#include <cerrno>
#include <cstdio>

namespace sim {

namespace {
struct ErrName {
  int err;
  const char* name;
};
const ErrName ERR_NAMES[] = {{EREMOTEIO, "EREMOTEIO"}, {ENXIO, "ENXIO"},       {EINVAL, "EINVAL"},
                             {EPROTO, "EPROTO"},       {EOPNOTSUPP, "EOPNOTSUPP"}, {ENOTTY, "ENOTTY"},
                             {EFAULT, "EFAULT"},       {EBADF, "EBADF"},       {ENOENT, "ENOENT"},
                             {EIO, "EIO"},             {ETIMEDOUT, "ETIMEDOUT"}, {EAGAIN, "EAGAIN"},
                             {EBUSY, "EBUSY"},         {ENODEV, "ENODEV"},     {ENOMEM, "ENOMEM"},
                             {EACCES, "EACCES"},       {EPERM, "EPERM"}};
}  // namespace

const char* errName(int err) {
  for (const ErrName& e : ERR_NAMES)
    if (e.err == err) return e.name;
  return "EIO";
}

int errNumber(const std::string& name) {
  for (const ErrName& e : ERR_NAMES)
    if (name == e.name) return e.err;
  return 0;
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
