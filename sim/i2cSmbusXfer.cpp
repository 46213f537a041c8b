#include "i2cSmbusXfer.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "i2cBus.h"
#include "kernelText.h"
#include "simState.h"
#include "simTrace.h"

namespace sim {

namespace {
int fail(const std::string& line, int err) {
  traceLine(withAnswer(line, errName(err)));
  return -err;
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

int smbusLearn(SimState& s, const I2cHandle& h, const i2c_smbus_ioctl_data& r) {
  uint8_t out[2 + I2C_SMBUS_BLOCK_MAX] = {};
  uint8_t in[2 + I2C_SMBUS_BLOCK_MAX] = {};
  I2cMsg msgs[2];
  bool block = r.size == I2C_SMBUS_BLOCK_DATA || r.size == I2C_SMBUS_I2C_BLOCK_DATA;
  if (!smbusSizeName(r.size) || !r.data || (block && r.data->block[0] > I2C_SMBUS_BLOCK_MAX)) return -EINVAL;
  // Whole messages, as a controller that reads a block's count and data in one: what result() took them from.
  size_t n = messages(r, false, out, in, msgs);
  switch (r.size) {
    case I2C_SMBUS_BYTE:
    case I2C_SMBUS_BYTE_DATA: in[0] = r.data->byte; break;
    case I2C_SMBUS_WORD_DATA:
    case I2C_SMBUS_PROC_CALL:
      in[0] = static_cast<uint8_t>(r.data->word & 0xFF);
      in[1] = static_cast<uint8_t>(r.data->word >> 8);
      break;
    case I2C_SMBUS_I2C_BLOCK_DATA: memcpy(in, &r.data->block[1], r.data->block[0]); break;
    case I2C_SMBUS_BLOCK_DATA: memcpy(in, r.data->block, 1u + r.data->block[0]); break;
  }
  return i2cLearn(s, h.adapter, h.addr, msgs, n);
}

int smbusXfer(SimState& s, const I2cHandle& h, struct i2c_smbus_ioctl_data* req) {
  if (!req) return fail(i2cText(h.adapter, h.addr) + " smbus", EFAULT);
  i2c_smbus_ioctl_data& r = *req;
  std::string line = tracing() ? smbusText(h.adapter, h.addr, r) : "";
  bool read = r.read_write == I2C_SMBUS_READ;
  if (!smbusSizeName(r.size) || (!read && r.read_write != I2C_SMBUS_WRITE)) return fail(line, EINVAL);
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
  if (tracing()) traceLine(withAnswer(line, smbusAnswer(r)));
  return 0;
}

}  // namespace sim
