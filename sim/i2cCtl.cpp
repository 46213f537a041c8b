#include <cstdio>
#include <cstdlib>

#include "eepromIdentity.h"
#include "i2cChips.h"
#include "i2cTopology.h"
#include "simCtl.h"
#include "simState.h"
#include "simStore.h"

namespace sim {

namespace {
using Args = std::vector<std::string>;

int bad(std::string& out, const std::string& why) {
  out = why + "\n" + i2cCtlUsage();
  return 2;
}

bool onOff(const std::string& w, uint8_t* flag) {
  if (w != "on" && w != "off") return false;
  *flag = w == "on";
  return true;
}

std::string faultText(const I2cChipFault& f) {
  std::string t;
  if (f.absent) t += " absent";
  if (f.nack) t += " no-ack";
  if (f.ignoreCtl) t += " ignores-control";
  if (f.vanishing) t += " vanishing after " + std::to_string(f.ackLeft) + " more transfers";
  if (f.stuckSet) {
    char buf[64];
    snprintf(buf, sizeof buf, " stuck reg 0x%x: 0-mask 0x%x 1-mask 0x%x", f.stuckReg, f.stuck0, f.stuck1);
    t += buf;
  }
  return t.empty() ? " ok" : t;
}

std::string list(SimState& s) {
  std::string out;
  ChipSites sites = topology(s.cfg);
  for (const ChipSite& site : sites) {
    const ChipInfo& info = chipInfo(site.id);
    char head[160];
    snprintf(head, sizeof head, "%-12s %-25s i2c-%d 0x%02x %-16s %-12s", info.name, info.part, site.adapter, site.addr,
             pathText(sites, site).c_str(), routed(s, sites, site) ? "routed" : "not-routed");
    out += head + faultText(s.i2c.fault[site.id]) + "; " + chipModel(site.id).describe(s, info.slot) + "\n";
  }
  return out;
}

// "stuck NAME REG BIT 0|1": the bit reads and stores as the given level.
int stuck(I2cChipFault& f, const Args& a, std::string& out) {
  unsigned long reg, bit;
  if (a.size() != 6 || !parseNum(a[3], &reg) || reg > 0xFFFF || !parseNum(a[4], &bit) || bit > 15 ||
      (a[5] != "0" && a[5] != "1"))
    return bad(out, "usage: i2c stuck NAME REG BIT 0|1");
  if (f.stuckSet && f.stuckReg != reg) f.stuck0 = f.stuck1 = 0;  // one register a chip
  f.stuckSet = 1;
  f.stuckReg = static_cast<uint16_t>(reg);
  uint16_t m = static_cast<uint16_t>(1u << bit);
  f.stuck0 = static_cast<uint16_t>(a[5] == "0" ? (f.stuck0 | m) : (f.stuck0 & ~m));
  f.stuck1 = static_cast<uint16_t>(a[5] == "1" ? (f.stuck1 | m) : (f.stuck1 & ~m));
  return 0;
}

int peekPoke(SimState& s, I2cChipId id, const Args& a, std::string& out) {
  bool poke = a[1] == "poke";
  size_t fixed = poke ? 5 : 4;
  unsigned long reg, value = 0, page = 0;
  if ((a.size() != fixed && a.size() != fixed + 1) || !parseNum(a[3], &reg) || (poke && !parseNum(a[4], &value)) ||
      (a.size() == fixed + 1 && !parseNum(a.back(), &page)))
    return bad(out, poke ? "usage: i2c poke NAME REG VALUE [PAGE]" : "usage: i2c peek NAME REG [PAGE]");
  const ChipModel& m = chipModel(id);
  int slot = chipInfo(id).slot;
  std::string err;
  unsigned v = 0;
  bool ok = poke ? m.poke(s, slot, static_cast<unsigned>(reg), static_cast<unsigned>(page), static_cast<unsigned>(value), err)
                 : m.peek(s, slot, static_cast<unsigned>(reg), static_cast<unsigned>(page), &v, err);
  if (!ok) return bad(out, err);
  if (!poke) {
    char buf[32];
    snprintf(buf, sizeof buf, "0x%x\n", v);
    out = buf;
  }
  return 0;
}

int fan(SimState& s, const Args& a, std::string& out) {
  unsigned long n;
  uint8_t on;
  if (a[1] == "fan-settle" && a.size() == 3 && parseNum(a[2], &n) && n <= 60000) {
    s.i2c.fanCtl.settleMs = static_cast<uint32_t>(n);
    return 0;
  }
  if (a[1] == "fan-fail" && a.size() == 4 && parseNum(a[2], &n) && n >= 1 && n <= FAN_COUNT && onOff(a[3], &on)) {
    FanRamp& r = s.i2c.fanCtl.fan[n - 1];
    if (r.failed && !on) r.fromRpm = 0, r.changeNs = nowNs();  // a repaired fan spins up from standstill
    r.failed = on;
    return 0;
  }
  return bad(out, "usage: i2c fan-fail N on|off, i2c fan-settle MS");
}

// i2c vanish NAME N|off: the chip answers N more transfers, then none.
int vanish(I2cChipFault& f, const std::string& n, std::string& out) {
  if (n == "off") {
    f.vanishing = 0;
    return 0;
  }
  char* end = nullptr;
  unsigned long v = strtoul(n.c_str(), &end, 0);
  if (n.empty() || *end || v > 0xFFFF) return bad(out, "usage: i2c vanish NAME N|off (N: transfers still answered, 0-65535)");
  f.vanishing = 1;
  f.ackLeft = static_cast<uint16_t>(v);
  return 0;
}

// i2c identity NAME blank|crc|stream|version|long|reset: a board EEPROM's identity
// damaged in one way, or written afresh as at power-on.
int identity(SimState& s, I2cChipId id, const Args& a, std::string& out) {
  const ChipInfo& info = chipInfo(id);
  if (info.kind != KIND_EEPROM) return bad(out, "only a board EEPROM holds an identity");
  if (a.size() != 4) return bad(out, "usage: i2c identity NAME blank|crc|stream|version|long|reset");
  EepromState& e = s.i2c.eeprom[info.slot];
  if (a[3] == "reset") {
    writeIdentity(e.mem, sizeof e.mem, info.idText, info.slot);
    return 0;
  }
  std::string err;
  return damageIdentity(e.mem, sizeof e.mem, a[3], err) ? 0 : bad(out, err);
}

// Commands that name a chip: i2c WHAT NAME ...
int chipCommand(SimState& s, const Args& a, std::string& out) {
  I2cChipId id = a.size() >= 3 ? chipByName(a[2]) : CHIP_NONE;
  if (id == CHIP_NONE) return bad(out, "unknown chip" + (a.size() >= 3 ? " " + a[2] : std::string()));
  I2cChipFault& f = s.i2c.fault[id];
  const std::string& what = a[1];
  if (what == "peek" || what == "poke") return peekPoke(s, id, a, out);
  if (what == "stuck") return stuck(f, a, out);
  if (what == "vanish" && a.size() == 4) return vanish(f, a[3], out);
  if (what == "identity") return identity(s, id, a, out);
  if (what == "unstuck" && a.size() == 3) {
    f.stuckSet = 0;
    f.stuck0 = f.stuck1 = f.stuckReg = 0;
    return 0;
  }
  uint8_t* flag = what == "absent" ? &f.absent : what == "nack" ? &f.nack : what == "ignore-ctl" ? &f.ignoreCtl : nullptr;
  if (flag && what == "ignore-ctl" && chipInfo(id).kind != KIND_SWITCH && chipInfo(id).kind != KIND_MUX)
    return bad(out, "only a switch or mux can ignore its control byte");
  if (flag && a.size() == 4 && onOff(a[3], flag)) return 0;
  return bad(out, "bad i2c command");
}
}  // namespace

std::string i2cCtlUsage() {
  return "  i2c list                      chips of this board: address, path, routing, faults, state\n"
         "  i2c absent NAME on|off        chip not fitted: no acknowledge, nothing behind it answers\n"
         "  i2c nack NAME on|off          chip does not acknowledge its address\n"
         "  i2c stuck NAME REG BIT 0|1    a register bit stuck at 0 or 1 (EEPROM: memory address;\n"
         "                                fan controller: command code, word bits 0-15)\n"
         "  i2c unstuck NAME              remove the chip's stuck bits\n"
         "  i2c ignore-ctl NAME on|off    a switch or mux keeps its selection whatever is written\n"
         "  i2c vanish NAME N|off         the chip answers N more transfers, then none (unplugged mid-command)\n"
         "  i2c identity NAME blank|crc|stream|version|long|empty|reset\n"
         "                                a board EEPROM's identity erased, its CRC or its zlib stream\n"
         "                                damaged, an unknown layout, its length the longest that fits\n"
         "                                or 0, or written afresh\n"
         "  i2c fan-fail N on|off         fan N (1-6) has failed and stands still\n"
         "  i2c fan-settle MS             time a fan takes to reach a new speed (power-on 500)\n"
         "  i2c peek NAME REG [PAGE]      show a register without bus traffic (PAGE: fan controller)\n"
         "  i2c poke NAME REG VALUE [PAGE] set a register without bus traffic\n"
         "  i2c clear                     remove every I2C fault\n";
}

int i2cCtl(SimState& s, const std::vector<std::string>& args, std::string& out) {
  if (args.size() < 2) return bad(out, "i2c what?");
  const std::string& what = args[1];
  if (what == "list" && args.size() == 2) {
    out = list(s);
    return 0;
  }
  if (what == "clear" && args.size() == 2) {
    for (I2cChipFault& f : s.i2c.fault) f = I2cChipFault{};
    for (FanRamp& r : s.i2c.fanCtl.fan) r.failed = 0;
    return 0;
  }
  if (what == "fan-fail" || what == "fan-settle") return fan(s, args, out);
  return chipCommand(s, args, out);
}

}  // namespace sim
