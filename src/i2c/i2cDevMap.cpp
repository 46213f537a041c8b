#include "i2cDevMap.h"

#include <string_view>

#include <fcntl.h>
#include <linux/i2c-dev.h>

#include "i2cBoardTables.h"
#include "i2cHostDetect.h"
#include "kernel.h"
#include "rev.h"

namespace {
// The multiplexer trees and every named device hang on adapter 2.
constexpr int SWITCH_BUS = 2;
// The main-reference sensor behind channel 2 of the host switch answers at one of two addresses.
constexpr int MREF_CHANNEL_CODE = 0x04;
constexpr int MREF_ADDR1 = 0x48;
constexpr int MREF_ADDR2 = 0x4D;
constexpr const char* MREF_SENSOR = "mrtmp1";

struct SwitchSearch {
  const char* devName;
  I2cAddrSearchInfo_t info;
};

const SwitchSearch switchSearches[] = {
    {"hostsw", {SWITCH_BUS, {{0x71, "pca9545APW"}, {0x69, "pca9545"}}}},
    {"fpsw", {SWITCH_BUS, {{0x72, "pca9545APW"}, {0x6a, "pca9545"}}}},
    {"shostsw", {SWITCH_BUS, {{0x70, "pca9545APW"}, {0x68, "pca9545"}}}},
};

const I2cBoardTable& boardTable() {
  if (isMainHost()) return MAIN_HOST_TABLE;
  if (isFrontPanel()) return FRONT_PANEL_TABLE;
  if (isMainRef()) return MAIN_REF_TABLE;
  return SIGNAL_HOST_TABLE;
}

// Where the main-reference sensor answers. Probing selects and deselects the
// host switch, so it is done under the semaphore that guards the bus paths.
// The probe is made of plain one-byte writes: on an adapter that carries no
// plain transfers it is not made, and the sensor keeps its first address.
// What the adapter carries is kept for the devices on it.
int probeMrefSensor(int hostSwAddr, I2cAdapterCaps& caps, ProgramSem& sem) {
  bool takenHere = sem.take(true) == SUCCESS;
  int found = -1;
  int fd = kernel().open("/dev/i2c-2", O_RDWR);
  if (fd >= 0) {
    unsigned long funcs = 0;
    if (kernel().ioctl(fd, I2C_FUNCS, &funcs) == 0) caps = I2cAdapterCaps{true, funcs};
    if (funcs & I2C_FUNC_I2C) found = probe_I2cSensAddr(fd, hostSwAddr, MREF_CHANNEL_CODE, MREF_ADDR1, MREF_ADDR2, 0);
    kernel().close(fd);
  }
  if (takenHere) sem.give();
  return found;
}

// The switches' addresses that the board shows in sysfs, by device name.
std::map<std::string, unsigned> switchAddresses(RevCache& revision) {
  std::map<std::string, unsigned> found;
  if (!revision.switches()) return found;
  for (const SwitchSearch& s : switchSearches) {
    char hwname[20];
    int addr = searchForI2cMuxSwAddr(&s.info, hwname);
    if (addr >= 0) found[s.devName] = static_cast<unsigned>(addr);
  }
  return found;
}

// The fixed-column description: host board, bus and channels, board number, function, part.
std::string describe(const I2cBoardTable& t, const I2cBoardEntry& e) {
  auto channel = [](unsigned c) { return c == NO_MUX ? std::string(" ") : std::to_string(c); };
  // The bus column numbers the processor's bus as the board drawings do: adapter 2 is bus 1.
  std::string d = std::string(t.label) + " 1 " + channel(e.dev.hostMux);
  if (t.twoLevels) d += " " + channel(e.dev.localMux);
  d += std::string(" ") + e.boardNo + " " + e.function;
  if (e.part[0]) d += std::string(" ") + e.part;
  return d;
}
}  // namespace

const I2cDevNameMap& I2cDevMap::devices() {
  if (!filled) fill();
  placeMrefSensor();
  return map;
}

I2cDevNameMap::const_iterator I2cDevMap::lookup(const std::string& name) {
  if (!filled) fill();
  if (name == MREF_SENSOR) placeMrefSensor();
  return map.find(name);
}

I2cDev* I2cDevMap::find(const std::string& name) {
  auto it = lookup(name);
  return it == map.end() ? nullptr : it->second;
}

const std::string& I2cDevMap::boardLabel() {
  if (!filled) fill();
  return label;
}

// Probed when first asked for, by name or in the whole list: a command that
// reaches another chip pays nothing for it.
void I2cDevMap::placeMrefSensor() {
  if (!mrefSwitch) return;
  const auto hostSw = static_cast<int>(*mrefSwitch);
  mrefSwitch.reset();
  int addr = probeMrefSensor(hostSw, *adapterCaps[SWITCH_BUS], sem);
  if (I2cDev* dev = known(MREF_SENSOR); dev && addr >= 0) dev->address = static_cast<unsigned>(addr);
}

void I2cDevMap::fill() {
  filled = true;
  const I2cBoardTable& t = boardTable();
  label = t.label;
  adapterCaps[SWITCH_BUS] = std::make_shared<I2cAdapterCaps>();
  std::map<std::string, unsigned> addrs = switchAddresses(revision);
  auto host = addrs.find("hostsw");
  if (&t == &MAIN_HOST_TABLE && host != addrs.end()) mrefSwitch = host->second;
  for (const I2cBoardEntry& e : t.entries) {
    auto a = addrs.find(e.dev.name);
    add(t, e, a == addrs.end() ? e.dev.address : a->second);
  }
  // Every chip is in now: each path is handed the multiplexers it selects.
  for (const std::unique_ptr<I2cDev>& dev : owned) {
    paths.push_back(std::make_unique<I2CPath>(dev->name, dev->host, dev->hostMux, dev->localMux, muxesFor(dev->host)));
    dev->path = paths.back().get();
  }
}

void I2cDevMap::add(const I2cBoardTable& t, const I2cBoardEntry& e, unsigned address) {
  I2cDevDesc desc = e.dev;
  desc.adapter = SWITCH_BUS;
  desc.address = address;
  desc.description = describe(t, e);
  // Every 24LC32A of a board carries that board's identity.
  desc.boardIdMem = std::string_view(e.part) == "24LC32A";
  owned.push_back(std::make_unique<I2cDev>(std::move(desc)));
  owned.back()->caps = adapterCaps[SWITCH_BUS];
  map.emplace(e.dev.name, owned.back().get());
}

I2cDev* I2cDevMap::known(const char* name) const {
  auto it = name ? map.find(name) : map.end();
  return it == map.end() ? nullptr : it->second;
}

I2cPathMuxes I2cDevMap::muxesFor(E_HOST host) {
  if (!filled) fill();
  auto chips = [&](E_MUX_LEVEL level) {
    I2cMuxNames names = I2CPath::muxNames(host, level);
    return I2cMuxLevel{known(names.mux), known(names.sw)};
  };
  return {chips(HOST_LEVEL), chips(LOCAL_LEVEL), &revision};
}
