#include "i2cSmbusXfer.h"

#include <cerrno>
#include <cstdio>
#include <string>

#include "i2cBus.h"
#include "i2cText.h"
#include "simTrace.h"

namespace sim {

namespace {
const char* sizeName(unsigned size) {
  switch (size) {
    case I2C_SMBUS_QUICK: return "quick";
    case I2C_SMBUS_BYTE: return "byte";
    case I2C_SMBUS_BYTE_DATA: return "byte_data";
    case I2C_SMBUS_WORD_DATA: return "word_data";
    case I2C_SMBUS_PROC_CALL: return "proc_call";
    case I2C_SMBUS_BLOCK_DATA: return "block_data";
    case I2C_SMBUS_I2C_BLOCK_BROKEN: return "i2c_block_broken";
    case I2C_SMBUS_I2C_BLOCK_DATA: return "i2c_block_data";
    case I2C_SMBUS_BLOCK_PROC_CALL: return "block_proc_call";
  }
  return nullptr;
}

std::string fmt(const char* f, unsigned a, unsigned b = 0) {
  char buf[64];
  snprintf(buf, sizeof buf, f, a, b);
  return buf;
}

int fail(const std::string& line, int err) {
  trace("%s -> %s", line.c_str(), errName(err));
  return -err;
}

// "i2c-2 0x52 smbus write byte_data cmd 0x00 data 00": what the request asks for.
std::string requestText(const I2cHandle& h, const i2c_smbus_ioctl_data& r) {
  const char* sz = sizeName(r.size);
  std::string line = fmt("i2c-%d 0x%02x smbus ", static_cast<unsigned>(h.adapter), static_cast<unsigned>(h.addr));
  line += r.read_write == I2C_SMBUS_READ ? "read" : r.read_write == I2C_SMBUS_WRITE ? "write" : fmt("rw=%u", r.read_write);
  line += sz ? std::string(" ") + sz : fmt(" size=%u", r.size);
  bool read = r.read_write == I2C_SMBUS_READ;
  if (r.size != I2C_SMBUS_QUICK && !(r.size == I2C_SMBUS_BYTE && read)) line += fmt(" cmd 0x%02x", r.command);
  if (read || !r.data) return line;
  if (r.size == I2C_SMBUS_BYTE_DATA) line += fmt(" data %02x", r.data->byte);
  if (r.size == I2C_SMBUS_WORD_DATA) line += fmt(" data %04x", r.data->word);
  if (r.size == I2C_SMBUS_BLOCK_DATA && r.data->block[0] <= I2C_SMBUS_BLOCK_MAX)
    line += " data " + hexBytes(&r.data->block[1], r.data->block[0]);
  return line;
}

std::string resultText(const i2c_smbus_ioctl_data& r) {
  switch (r.size) {
    case I2C_SMBUS_BYTE:
    case I2C_SMBUS_BYTE_DATA: return fmt(" -> %02x", r.data->byte);
    case I2C_SMBUS_WORD_DATA: return fmt(" -> %04x", r.data->word);
    case I2C_SMBUS_BLOCK_DATA: return " -> " + hexBytes(&r.data->block[1], r.data->block[0]);
  }
  return "";
}

// The transfer as messages, the way the kernel emulates SMBus on a plain I2C adapter.
int transfer(SimState& s, const I2cHandle& h, i2c_smbus_ioctl_data& r) {
  bool read = r.read_write == I2C_SMBUS_READ;
  uint8_t out[2 + I2C_SMBUS_BLOCK_MAX] = {r.command};
  uint8_t in[1 + I2C_SMBUS_BLOCK_MAX] = {};
  I2cMsg cmd{false, out, 1};
  I2cMsg msgs[2] = {cmd, {true, in, 0}};
  size_t n = 1;
  switch (r.size) {
    case I2C_SMBUS_QUICK: msgs[0] = {read, in, 0}; break;
    case I2C_SMBUS_BYTE: msgs[0] = read ? I2cMsg{true, in, 1} : cmd; break;
    case I2C_SMBUS_BYTE_DATA:
    case I2C_SMBUS_WORD_DATA: {
      size_t len = r.size == I2C_SMBUS_BYTE_DATA ? 1 : 2;
      if (read) {
        msgs[1].len = len;
        n = 2;
        break;
      }
      if (len == 1) out[1] = r.data->byte;
      if (len == 2) out[1] = static_cast<uint8_t>(r.data->word & 0xFF), out[2] = static_cast<uint8_t>(r.data->word >> 8);
      msgs[0].len = 1 + len;
      break;
    }
    default:  // block data: [command, count, data...] or command then a counted read
      if (read) {
        msgs[1] = {true, in, 1 + I2C_SMBUS_BLOCK_MAX, true};
        n = 2;
      } else {
        for (size_t k = 0; k <= r.data->block[0]; ++k) out[1 + k] = r.data->block[k];
        msgs[0].len = 2 + r.data->block[0];
      }
  }
  int rc = i2cTransfer(s, h.adapter, h.addr, msgs, n);
  if (rc < 0 || !read || r.size == I2C_SMBUS_QUICK) return rc;
  if (r.size == I2C_SMBUS_WORD_DATA) r.data->word = static_cast<__u16>(in[0] | (in[1] << 8));
  else if (r.size == I2C_SMBUS_BLOCK_DATA) for (size_t k = 0; k < msgs[1].len; ++k) r.data->block[k] = in[k];
  else r.data->byte = in[0];
  return rc;
}
}  // namespace

int smbusXfer(SimState& s, const I2cHandle& h, struct i2c_smbus_ioctl_data* req) {
  if (!req) return fail(fmt("i2c-%d 0x%02x smbus", static_cast<unsigned>(h.adapter), static_cast<unsigned>(h.addr)), EFAULT);
  i2c_smbus_ioctl_data& r = *req;
  std::string line = requestText(h, r);
  bool read = r.read_write == I2C_SMBUS_READ;
  if (!sizeName(r.size) || (!read && r.read_write != I2C_SMBUS_WRITE)) return fail(line, EINVAL);
  bool needsData = !(r.size == I2C_SMBUS_QUICK || (r.size == I2C_SMBUS_BYTE && !read));
  if (needsData && !r.data) return fail(line, EINVAL);
  switch (r.size) {
    case I2C_SMBUS_QUICK:
    case I2C_SMBUS_BYTE:
    case I2C_SMBUS_BYTE_DATA:
    case I2C_SMBUS_WORD_DATA:
    case I2C_SMBUS_BLOCK_DATA: break;
    default: return fail(line, EOPNOTSUPP);  // transfers this adapter's model does not carry
  }
  if (!read && r.size == I2C_SMBUS_BLOCK_DATA && r.data->block[0] > I2C_SMBUS_BLOCK_MAX) return fail(line, EINVAL);
  int rc = transfer(s, h, r);
  if (rc < 0) return fail(line, -rc);
  trace("%s%s", line.c_str(), read ? resultText(r).c_str() : "");
  return 0;
}

}  // namespace sim
