// The board map, checked on each side as that side encodes it: no two chips
// that can be on the bus at the same time answer at one address, whatever
// state the program can leave the switches in (none or one channel open at
// each level), on both hosts and both revision families.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "i2cDevMap.h"
#include "cmdRun.h"
#include "i2cTestUtil.h"
#include "i2cTopology.h"
#include "rev.h"
#include "simState.h"

namespace {
const char* const BOARDS[] = {"main", "signal"};
const char* const REVS[] = {"2", "3"};
const char* const VARIANTS[] = {"pca9545APW", "pca9545"};
constexpr int NONE = -1;

// Adds the chip at addr to the state's bus, failing where another is there already.
void place(std::map<unsigned, std::string>& bus, unsigned addr, const std::string& chip, const std::string& where) {
  auto [it, fresh] = bus.emplace(addr, chip);
  EXPECT_TRUE(fresh) << where << ": " << it->second << " and " << chip << " both answer at 0x" << std::hex << addr;
}

// The registry's side: a device is on the bus when it hangs on the adapter or
// on the open channel of each of its levels.
bool onBus(const I2cDev& d, int host, int local) {
  if (d.hostMux == NO_MUX) return true;
  if (static_cast<int>(d.hostMux) != host) return false;
  return d.localMux == NO_MUX || static_cast<int>(d.localMux) == local;
}

void checkRegistry(const std::string& where, int rev) {
  I2cDevMap m{testBoard().i2cSem};
  const bool later = rev >= Rev::FIRST_SWITCH_REV;
  for (int host = NONE; host < 4; ++host)
    for (int local = NONE; local < 4; ++local) {
      std::map<unsigned, std::string> bus;
      for (const auto& [name, dev] : m.devices())
        if ((later ? !dev->notOnLaterRevs : !dev->notOnEarlyRevs) && onBus(*dev, host, local))
          place(bus, dev->address, name, where + " host " + std::to_string(host) + " local " + std::to_string(local));
    }
}

// The simulator's side: every switch or mux with none or one channel open.
std::vector<uint8_t> controls(sim::ChipKind kind) {
  if (kind == sim::KIND_SWITCH) return {0x00, 0x01, 0x02, 0x04, 0x08};
  return {0x00, 0x04, 0x05, 0x06, 0x07};
}

void checkSimulator(const std::string& where, const sim::BoardConfig& cfg) {
  auto s = std::make_unique<sim::SimState>();
  s->cfg = cfg;
  sim::ChipSites sites = sim::topology(cfg);
  std::vector<const sim::ChipSite*> switches;
  for (const sim::ChipSite& site : sites)
    if (sim::chipInfo(site.id).kind == sim::KIND_SWITCH || sim::chipInfo(site.id).kind == sim::KIND_MUX)
      switches.push_back(&site);
  ASSERT_FALSE(switches.empty()) << where;
  // Every combination of the switches' states, counted like the digits of a number.
  std::vector<size_t> digit(switches.size(), 0);
  for (;;) {
    std::string state = where;
    for (size_t k = 0; k < switches.size(); ++k) {
      const sim::ChipInfo& info = sim::chipInfo(switches[k]->id);
      s->i2c.sw[info.slot].control = controls(info.kind)[digit[k]];
      state += std::string(" ") + info.name + "=" + std::to_string(s->i2c.sw[info.slot].control);
    }
    std::map<unsigned, std::string> bus;
    for (const sim::ChipSite& site : sites)
      if (sim::routed(*s, sites, site)) place(bus, static_cast<unsigned>(site.addr), sim::chipInfo(site.id).name, state);
    size_t k = 0;
    while (k < digit.size() && ++digit[k] == controls(sim::chipInfo(switches[k]->id).kind).size()) digit[k++] = 0;
    if (k == digit.size()) break;
  }
}
}  // namespace

TEST(BoardMap, NoTwoChipsOnTheBusAtOnceShareAnAddress) {
  for (const char* board : BOARDS)
    for (const char* rev : REVS)
      for (const char* variant : VARIANTS) {
        std::string where = std::string(board) + " rev " + rev + " " + variant;
        simctls({{"reset"}, {"set", "board", board}, {"set", "rev", rev}});
        for (const char* sw : {"host", "fp", "shost"}) simctl({"set", "switch", sw, variant});
        checkRegistry("registry " + where, std::stoi(rev));
        sim::SimLock lk;
        checkSimulator("simulator " + where, lk.state().cfg);
      }
}
