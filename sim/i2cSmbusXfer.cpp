#include "i2cSmbusXfer.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "i2cBus.h"
#include "i2cText.h"
#include "simState.h"
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
  if (r.size == I2C_SMBUS_PROC_CALL) line += fmt(" data %04x", r.data->word);
  bool blockOut = r.size == I2C_SMBUS_BLOCK_DATA || r.size == I2C_SMBUS_I2C_BLOCK_DATA;
  if (blockOut && r.data->block[0] <= I2C_SMBUS_BLOCK_MAX) line += " data " + hexBytes(&r.data->block[1], r.data->block[0]);
  return line;
}

std::string resultText(const i2c_smbus_ioctl_data& r) {
  switch (r.size) {
    case I2C_SMBUS_BYTE:
    case I2C_SMBUS_BYTE_DATA: return fmt(" -> %02x", r.data->byte);
    case I2C_SMBUS_WORD_DATA:
    case I2C_SMBUS_PROC_CALL: return fmt(" -> %04x", r.data->word);
    case I2C_SMBUS_BLOCK_DATA:
    case I2C_SMBUS_I2C_BLOCK_DATA: return " -> " + hexBytes(&r.data->block[1], r.data->block[0]);
  }
  return "";
}

// The request as I2C messages, the way the kernel emulates SMBus on a plain
// I2C adapter: the command (and data) written, then what is read, joined by a
// repeated start. in is the emulation's own read buffer.
size_t messages(const i2c_smbus_ioctl_data& r, bool omap, uint8_t* out, uint8_t* in, I2cMsg* msgs) {
  bool read = r.read_write == I2C_SMBUS_READ;
  out[0] = r.command;
  msgs[0] = {false, out, 1};
  msgs[1] = {true, in, 0};
  switch (r.size) {
    case I2C_SMBUS_QUICK: msgs[0] = {read, in, 0}; return 1;
    case I2C_SMBUS_BYTE:
      if (read) msgs[0] = {true, in, 1};
      return 1;
    case I2C_SMBUS_BYTE_DATA:
    case I2C_SMBUS_WORD_DATA:
    case I2C_SMBUS_PROC_CALL: {
      size_t len = r.size == I2C_SMBUS_BYTE_DATA ? 1 : 2;
      if (read || r.size == I2C_SMBUS_PROC_CALL) msgs[1].len = len;
      if (!read) {
        out[1] = len == 1 ? r.data->byte : static_cast<uint8_t>(r.data->word & 0xFF);
        out[2] = static_cast<uint8_t>(r.data->word >> 8);
        msgs[0].len = 1 + len;
      }
      return msgs[1].len ? 2 : 1;
    }
    case I2C_SMBUS_I2C_BLOCK_DATA:
      if (read) {
        msgs[1].len = r.data->block[0];
        return 2;
      }
      for (size_t k = 1; k <= r.data->block[0]; ++k) out[k] = r.data->block[k];
      msgs[0].len = 1 + r.data->block[0];
      return 1;
    default:  // block data: [command, count, data...], or the command then a counted read
      if (read) {
        // The instrument's controller does not carry a message whose first
        // byte sets its length: it reads the count alone.
        msgs[1] = omap ? I2cMsg{true, in, 1} : I2cMsg{true, in, 1 + I2C_SMBUS_BLOCK_MAX, true};
        return 2;
      }
      for (size_t k = 0; k <= r.data->block[0]; ++k) out[1 + k] = r.data->block[k];
      msgs[0].len = 2 + r.data->block[0];
      return 1;
  }
}

// What the emulation gives back of its read buffer. A block's count comes
// first; its data are whatever the buffer holds after it, which on a
// controller that read only the count are bytes no chip sent.
int result(i2c_smbus_ioctl_data& r, const uint8_t* in) {
  switch (r.size) {
    case I2C_SMBUS_BYTE:
    case I2C_SMBUS_BYTE_DATA: r.data->byte = in[0]; break;
    case I2C_SMBUS_WORD_DATA:
    case I2C_SMBUS_PROC_CALL: r.data->word = static_cast<__u16>(in[0] | (in[1] << 8)); break;
    case I2C_SMBUS_I2C_BLOCK_DATA: memcpy(&r.data->block[1], in, r.data->block[0]); break;
    case I2C_SMBUS_BLOCK_DATA:
      if (in[0] > I2C_SMBUS_BLOCK_MAX) return -EPROTO;
      memcpy(r.data->block, in, 1u + in[0]);
  }
  return 0;
}

int transfer(SimState& s, const I2cHandle& h, i2c_smbus_ioctl_data& r) {
  uint8_t out[2 + I2C_SMBUS_BLOCK_MAX] = {};
  uint8_t* in = s.i2c.smbusScratch;
  I2cMsg msgs[2];
  size_t n = messages(r, s.cfg.adapter == ADAPTER_OMAP, out, in, msgs);
  int rc = i2cTransfer(s, h.adapter, h.addr, msgs, n);
  bool reads = r.read_write == I2C_SMBUS_READ || r.size == I2C_SMBUS_PROC_CALL;
  if (rc < 0 || !reads || r.size == I2C_SMBUS_QUICK) return rc;
  return result(r, in);
}
}  // namespace

int smbusXfer(SimState& s, const I2cHandle& h, struct i2c_smbus_ioctl_data* req) {
  if (!req) return fail(fmt("i2c-%d 0x%02x smbus", static_cast<unsigned>(h.adapter), static_cast<unsigned>(h.addr)), EFAULT);
  i2c_smbus_ioctl_data& r = *req;
  std::string line = tracing() ? requestText(h, r) : "";
  bool read = r.read_write == I2C_SMBUS_READ;
  if (!sizeName(r.size) || (!read && r.read_write != I2C_SMBUS_WRITE)) return fail(line, EINVAL);
  bool needsData = !(r.size == I2C_SMBUS_QUICK || (r.size == I2C_SMBUS_BYTE && !read));
  if (needsData && !r.data) return fail(line, EINVAL);
  switch (r.size) {
    case I2C_SMBUS_QUICK:
    case I2C_SMBUS_BYTE:
    case I2C_SMBUS_BYTE_DATA:
    case I2C_SMBUS_WORD_DATA:
    case I2C_SMBUS_PROC_CALL:
    case I2C_SMBUS_BLOCK_DATA:
    case I2C_SMBUS_I2C_BLOCK_DATA: break;
    default: return fail(line, EOPNOTSUPP);  // transfers this adapter's model does not carry
  }
  bool counted = r.size == I2C_SMBUS_I2C_BLOCK_DATA || (!read && r.size == I2C_SMBUS_BLOCK_DATA);
  if (counted && (r.data->block[0] > I2C_SMBUS_BLOCK_MAX || (r.size == I2C_SMBUS_I2C_BLOCK_DATA && !r.data->block[0])))
    return fail(line, EINVAL);
  int rc = transfer(s, h, r);
  if (rc < 0) return fail(line, -rc);
  if (tracing()) trace("%s%s", line.c_str(), read || r.size == I2C_SMBUS_PROC_CALL ? resultText(r).c_str() : "");
  return 0;
}

}  // namespace sim
