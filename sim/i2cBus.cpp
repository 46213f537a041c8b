#include "i2cBus.h"

#include <cerrno>
#include <cstring>
#include <vector>

#include "i2cChips.h"
#include "i2cTopology.h"
#include "simState.h"

namespace sim {

const ChipModel& chipModel(int id) {
  switch (chipInfo(id).kind) {
    case KIND_SWITCH: return switchModel;
    case KIND_MUX: return muxModel;
    case KIND_EEPROM: return eepromModel;
    case KIND_FANCTL: return fanCtlModel;
    case KIND_TEMP: return tempModel;
    case KIND_REGFILE: break;
  }
  return regFileModel;
}

namespace {
constexpr size_t BLOCK_MAX = 32;

using ChipIds = PerChip<int>;

// The chips that acknowledge addr now: fitted, routed to, not silenced.
ChipIds responders(const SimState& s, int adapter, int addr) {
  ChipIds ids;
  ChipSites sites = topology(s.cfg);
  for (const ChipSite& site : sites) {
    const I2cChipFault& f = s.i2c.fault[site.id];
    if (site.adapter == adapter && site.addr == addr && !f.absent && !f.nack && routed(s, sites, site))
      ids.push_back(site.id);
  }
  return ids;
}

bool writeAll(SimState& s, const ChipIds& ids, const I2cMsg& m, bool last) {
  bool ack = false;
  for (int id : ids) ack |= chipModel(id).write(s, chipInfo(id).slot, s.i2c.fault[id], m.buf, m.len, last);
  return ack;
}

bool readAll(SimState& s, const ChipIds& ids, uint8_t* buf, size_t len, size_t done) {
  bool ack = false;
  std::vector<uint8_t> one(len);
  if (len) memset(buf, 0xFF, len);
  for (int id : ids) {
    if (!chipModel(id).read(s, chipInfo(id).slot, s.i2c.fault[id], one.data(), len, done)) continue;
    ack = true;
    for (size_t k = 0; k < len; ++k) buf[k] &= one[k];  // open-drain bus: a 0 wins
  }
  return ack;
}

// A message whose first byte sets its length is still one message: the
// chips go on with their reply after the count.
int readMsg(SimState& s, const ChipIds& ids, I2cMsg& m) {
  if (!m.recvLen) return readAll(s, ids, m.buf, m.len, 0) ? 0 : -EREMOTEIO;
  if (!readAll(s, ids, m.buf, 1, 0)) return -EREMOTEIO;
  size_t count = m.buf[0];
  if (count == 0 || count > BLOCK_MAX) return -EPROTO;
  m.len = 1 + count;
  readAll(s, ids, m.buf + 1, count, 1);
  return 0;
}

// A vanishing chip spends one of its remaining transfers, or has gone.
void dropVanished(SimState& s, ChipIds& ids) {
  ids.eraseIf([&](int id) {
    I2cChipFault& f = s.i2c.fault[id];
    if (!f.vanishing) return false;
    if (f.ackLeft == 0) return true;
    --f.ackLeft;
    return false;
  });
}

void learnMsg(SimState& s, const ChipIds& ids, I2cMsg& m) {
  if (m.recvLen) m.len = 1 + m.buf[0];
  for (int id : ids) chipModel(id).learn(s, chipInfo(id).slot, m.buf, m.len, 0);
}

int transfer(SimState& s, int adapter, int addr, I2cMsg* msgs, size_t n, bool learn) {
  // The instrument's controller takes no zero-length message; the kernel
  // refuses one before anything goes on the bus.
  for (size_t i = 0; i < n; ++i)
    if (msgs[i].len == 0 && s.cfg.adapter == ADAPTER_OMAP) return -EOPNOTSUPP;
  ChipIds ids = responders(s, adapter, addr);
  if (!learn) dropVanished(s, ids);
  if (ids.empty()) return -EREMOTEIO;
  for (size_t i = 0; i < n; ++i) {
    if (msgs[i].read && learn) {
      learnMsg(s, ids, msgs[i]);
      continue;
    }
    int r = msgs[i].read ? readMsg(s, ids, msgs[i]) : (writeAll(s, ids, msgs[i], i + 1 == n) ? 0 : -EREMOTEIO);
    if (r < 0) return r;
  }
  return 0;
}
}  // namespace

int i2cTransfer(SimState& s, int adapter, int addr, I2cMsg* msgs, size_t n) {
  return transfer(s, adapter, addr, msgs, n, false);
}

int i2cLearn(SimState& s, int adapter, int addr, I2cMsg* msgs, size_t n) {
  return transfer(s, adapter, addr, msgs, n, true);
}

}  // namespace sim
