#include "i2cModel.h"

#include <linux/i2c-dev.h>
#include <linux/i2c.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "i2cBus.h"
#include "i2cChips.h"
#include "i2cSmbusXfer.h"
#include "kernelText.h"
#include "i2cTopology.h"
#include "simState.h"
#include "simTrace.h"

namespace sim {

namespace {
constexpr int ADAPTERS = 3;        // the processor's adapters 0, 1 and 2
constexpr size_t MAX_PLAIN = 8192;  // i2c-dev cuts plain transfers to this
constexpr unsigned long MAX_7BIT = 0x7F;

int setAddress(I2cHandle& h, unsigned long request, unsigned long addr) {
  std::string line = i2cAddrText(h.adapter, request == I2C_SLAVE_FORCE, addr);
  if (addr > MAX_7BIT) {
    traceLine(withAnswer(line, "EINVAL"));
    return -EINVAL;
  }
  h.addr = static_cast<int>(addr);
  traceLine(line);
  return 0;
}

// What the adapter's driver says it can carry. The instrument's controller
// offers plain transfers and the SMBus the kernel emulates on them, but for
// the quick command (a zero-length message) and the block read (a message
// whose first byte sets its length).
// An SMBus-only controller (a PC's, or the kernel's stub) carries no plain
// transfer at all.
unsigned long adapterFuncs(const SimState& s) {
  if (s.cfg.adapter == ADAPTER_FULL) return I2C_FUNC_I2C | I2C_FUNC_SMBUS_EMUL_ALL;
  if (s.cfg.adapter == ADAPTER_SMBUS) return I2C_FUNC_SMBUS_EMUL_ALL;
  return I2C_FUNC_I2C | (I2C_FUNC_SMBUS_EMUL & ~I2C_FUNC_SMBUS_QUICK) | I2C_FUNC_PROTOCOL_MANGLING;
}

int funcs(const SimState& s, const I2cHandle& h, void* arg) {
  if (!arg) return -EFAULT;
  *static_cast<unsigned long*>(arg) = adapterFuncs(s);
  trace("%s funcs -> 0x%lx", adapterText(h.adapter).c_str(), adapterFuncs(s));
  return 0;
}

// The most messages i2c-dev takes in one combined transfer.
constexpr __u32 RDWR_MAX_MSGS = I2C_RDWR_IOCTL_MAX_MSGS;

// A combined transfer (I2C_RDWR): the messages as the kernel hands them to the
// adapter, each to its own address, joined by repeated starts; traced as one
// request, in the words a recording uses. i2c-dev answers the number of
// messages, or the first failure. The instrument's controller takes no message
// whose first byte sets its length.
int rdwr(SimState& s, const I2cHandle& h, i2c_rdwr_ioctl_data* d) {
  if (!d) return -EFAULT;
  if (s.cfg.adapter == ADAPTER_SMBUS) {
    traceLine(withAnswer(i2cRdwrText(h.adapter, *d), "EOPNOTSUPP"));
    return -EOPNOTSUPP;
  }
  if (!d->msgs || d->nmsgs == 0 || d->nmsgs > RDWR_MAX_MSGS) {
    traceLine(withAnswer(i2cRdwrText(h.adapter, *d), "EINVAL"));
    return -EINVAL;
  }
  for (__u32 i = 0; i < d->nmsgs; ++i) {
    const i2c_msg& k = d->msgs[i];
    if (k.len > MAX_PLAIN || (k.flags & I2C_M_TEN) || k.addr > MAX_7BIT ||
        ((k.flags & I2C_M_RECV_LEN) && s.cfg.adapter == ADAPTER_OMAP)) {
      traceLine(withAnswer(i2cRdwrText(h.adapter, *d), "EINVAL"));
      return -EINVAL;
    }
  }
  const std::string line = tracing() ? i2cRdwrText(h.adapter, *d) : "";
  for (__u32 i = 0; i < d->nmsgs;) {
    // The messages to one address are one transaction of the bus model.
    __u32 end = i;
    while (end < d->nmsgs && d->msgs[end].addr == d->msgs[i].addr) ++end;
    std::vector<I2cMsg> msgs;
    for (__u32 k = i; k < end; ++k)
      msgs.push_back({(d->msgs[k].flags & I2C_M_RD) != 0, d->msgs[k].buf, d->msgs[k].len});
    int rc = i2cTransfer(s, h.adapter, d->msgs[i].addr, msgs.data(), msgs.size());
    if (rc < 0) {
      traceLine(withAnswer(line, errName(-rc)));
      return rc;
    }
    i = end;
  }
  if (tracing()) traceLine(withAnswer(line, i2cRdwrAnswer(*d)));
  return static_cast<int>(d->nmsgs);
}

// One plain read or write message to the handle's address.
ssize_t plain(SimState& s, I2cHandle& h, uint8_t* buf, size_t n, bool read) {
  if (n > MAX_PLAIN) n = MAX_PLAIN;
  I2cMsg m{read, buf, n};
  std::string line = tracing() ? i2cXferText(h.adapter, h.addr, read, buf, n) : "";
  if (s.cfg.adapter == ADAPTER_SMBUS) {
    traceLine(withAnswer(line, "EOPNOTSUPP"));
    return -EOPNOTSUPP;
  }
  int rc = i2cTransfer(s, h.adapter, h.addr, &m, 1);
  if (tracing()) traceLine(withAnswer(line, rc < 0 ? errName(-rc) : read ? hexBytes(buf, n) : ""));
  return rc < 0 ? rc : static_cast<ssize_t>(n);
}
}  // namespace

// Power-on state of every chip. Injected faults describe the hardware, not
// its state: they stay until cleared (a full reset clears the whole state first).
void resetI2c(SimState& s) {
  I2cChipFault faults[I2C_CHIPS];
  uint8_t failed[FAN_COUNT];
  memcpy(faults, s.i2c.fault, sizeof faults);
  for (int f = 0; f < FAN_COUNT; ++f) failed[f] = s.i2c.fanCtl.fan[f].failed;
  memset(&s.i2c, 0, sizeof s.i2c);
  for (int id = 0; id < I2C_CHIPS; ++id) chipModel(id).reset(s, chipInfo(id).slot, id);
  memcpy(s.i2c.fault, faults, sizeof faults);
  for (int f = 0; f < FAN_COUNT; ++f) s.i2c.fanCtl.fan[f].failed = failed[f];
}

bool i2cAdapterExists(const SimState&, int adapter) { return adapter >= 0 && adapter < ADAPTERS; }

int i2cIoctl(SimState& s, I2cHandle& h, unsigned long request, void* arg) {
  switch (request) {
    case I2C_SLAVE:
    case I2C_SLAVE_FORCE: return setAddress(h, request, reinterpret_cast<unsigned long>(arg));
    case I2C_FUNCS: return funcs(s, h, arg);
    case I2C_SMBUS: return smbusXfer(s, h, static_cast<i2c_smbus_ioctl_data*>(arg));
    case I2C_RDWR: return rdwr(s, h, static_cast<i2c_rdwr_ioctl_data*>(arg));
    case I2C_TIMEOUT:
    case I2C_RETRIES: return 0;
  }
  trace("%s ioctl 0x%lx -> ENOTTY", adapterText(h.adapter).c_str(), request);
  return -ENOTTY;
}

ssize_t i2cRead(SimState& s, I2cHandle& h, void* buf, size_t n) {
  return plain(s, h, static_cast<uint8_t*>(buf), n, true);
}

ssize_t i2cWrite(SimState& s, I2cHandle& h, const void* buf, size_t n) {
  std::vector<uint8_t> copy(static_cast<const uint8_t*>(buf), static_cast<const uint8_t*>(buf) + (n > MAX_PLAIN ? MAX_PLAIN : n));
  return plain(s, h, copy.data(), copy.size(), false);
}

bool i2cSourcesOkay(SimState& s) {
  const I2cChipFault* f = s.i2c.fault;
  bool fanPulls = !f[CHIP_FCTL].absent && fanCtlFaultOut(s);
  bool mrefPulls = !f[CHIP_MRTMP1].absent && tempAlertOut(s, chipInfo(CHIP_MRTMP1).slot);
  bool fpPulls = !f[CHIP_FPFPGA].absent && !fpFpgaOkayOut(s, chipInfo(CHIP_FPFPGA).slot);
  return !fanPulls && !mrefPulls && !fpPulls;
}

}  // namespace sim
