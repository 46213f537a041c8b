#include "i2cTopology.h"

#include "simState.h"

namespace sim {

namespace {
const ChipInfo chips[I2C_CHIPS] = {
    {"hostsw", KIND_SWITCH, 0, "PCA9545", nullptr},
    {"fpsw", KIND_SWITCH, 1, "PCA9545", nullptr},
    {"shostsw", KIND_SWITCH, 2, "PCA9545", nullptr},
    {"hostmux", KIND_MUX, 3, "4-channel mux", nullptr},
    {"fpmux", KIND_MUX, 4, "4-channel mux", nullptr},
    {"shostmux", KIND_MUX, 5, "4-channel mux", nullptr},
    {"mh-eeprom", KIND_EEPROM, 0, "24LC32A", "Z9 0980 main host"},
    {"comm-eeprom", KIND_EEPROM, 1, "24LC32A", "Z9 0996 communications"},
    {"fctl", KIND_FANCTL, 0, "MAX31785", nullptr},
    {"fc-eeprom", KIND_EEPROM, 2, "24LC32A", "Z9 0995 fan control"},
    {"mrtmp1", KIND_TEMP, 0, "SA56004X", nullptr},
    {"mrtmp2", KIND_TEMP, 1, "SA56004X", nullptr},
    {"mr-eeprom", KIND_EEPROM, 3, "24LC32A", "Z9 0989 main reference"},
    {"bp-eeprom", KIND_EEPROM, 4, "24LC32A", "Z9 0970 back plane"},
    {"smc-eeprom", KIND_EEPROM, 5, "24LC32A", "Z9 1000 SRC/Meas connector"},
    {"fpfpga", KIND_REGFILE, 0, "front-panel FPGA", nullptr},
    {"fpio-eeprom", KIND_EEPROM, 6, "24LC32A", "Z9 0981 front panel input/output"},
    {"fprly-eeprom", KIND_EEPROM, 7, "24LC32A", "Z9 0997 front panel relay"},
    {"sh-eeprom", KIND_EEPROM, 8, "24LC32A", "Z9 0984 signal host"},
    {"hvuc3", KIND_REGFILE, 1, "HV source microcontroller", nullptr},
    {"mc1i2cspi", KIND_REGFILE, 2, "I2C-to-SPI bridge", nullptr},
    {"mc1-eeprom", KIND_EEPROM, 9, "24LC32A", "Z9 0985 measurement channel 1"},
    {"mc2i2cspi", KIND_REGFILE, 3, "I2C-to-SPI bridge", nullptr},
    {"mc2-eeprom", KIND_EEPROM, 10, "24LC32A", "Z9 0985 measurement channel 2"},
    {"fpp-eeprom", KIND_EEPROM, 11, "24LC32A", "Z9 0981 front panel processor"},
    {"mrp-eeprom", KIND_EEPROM, 12, "24LC32A", "Z9 0989 main reference processor"},
};

constexpr int ADAPTER = 2;

// The boards are strapped so that chips on the bus at the same time never
// share an address: the host channels exclude each other, but a chip on the
// front-panel switch's host channel meets whatever front-panel channel is
// still open.

void mainHost(const BoardConfig& cfg, ChipSites& v) {
  bool sw = usesSwitches(cfg);
  I2cChipId host = sw ? CHIP_HOSTSW : CHIP_HOSTMUX;
  I2cChipId fp = sw ? CHIP_FPSW : CHIP_FPMUX;
  v.push_back({host, ADAPTER, sw ? switchAddr(cfg, SW_HOST) : 0x74, CHIP_NONE, 0});
  v.push_back({CHIP_MH_EEPROM, ADAPTER, 0x56, CHIP_NONE, 0});
  v.push_back({CHIP_COMM_EEPROM, ADAPTER, 0x50, host, 0});
  v.push_back({CHIP_FCTL, ADAPTER, 0x52, host, 1});
  v.push_back({CHIP_FC_EEPROM, ADAPTER, 0x50, host, 1});
  v.push_back({CHIP_MRTMP1, ADAPTER, cfg.mrefSensorAddr, host, 2});
  v.push_back({CHIP_MRTMP2, ADAPTER, 0x4C, host, 2});
  v.push_back({CHIP_MR_EEPROM, ADAPTER, 0x50, host, 2});
  v.push_back({CHIP_BP_EEPROM, ADAPTER, 0x50, host, 3});
  v.push_back({fp, ADAPTER, sw ? switchAddr(cfg, SW_FP) : 0x75, host, 3});
  v.push_back({CHIP_SMC_EEPROM, ADAPTER, 0x54, fp, 0});
  v.push_back({CHIP_FPFPGA, ADAPTER, 0x40, fp, 1});
  v.push_back({CHIP_FPIO_EEPROM, ADAPTER, 0x55, fp, 1});
  v.push_back({CHIP_FPRLY_EEPROM, ADAPTER, 0x57, fp, 3});
}

void signalHost(const BoardConfig& cfg, ChipSites& v) {
  bool sw = usesSwitches(cfg);
  I2cChipId host = sw ? CHIP_SHOSTSW : CHIP_SHOSTMUX;
  v.push_back({host, ADAPTER, sw ? switchAddr(cfg, SW_SHOST) : 0x76, CHIP_NONE, 0});
  v.push_back({CHIP_SH_EEPROM, ADAPTER, 0x50, CHIP_NONE, 0});
  v.push_back({CHIP_HVUC3, ADAPTER, 0x21, host, 1});
  v.push_back({CHIP_MC1SPI, ADAPTER, 0x28, host, 2});
  v.push_back({CHIP_MC1_EEPROM, ADAPTER, 0x51, host, 2});
  v.push_back({CHIP_MC2SPI, ADAPTER, 0x28, host, 3});
  v.push_back({CHIP_MC2_EEPROM, ADAPTER, 0x51, host, 3});
}

const ChipSite* siteOf(const ChipSites& sites, I2cChipId id) {
  for (const ChipSite& s : sites)
    if (s.id == id) return &s;
  return nullptr;
}

bool selects(const SimState& s, I2cChipId sw, int channel) {
  const ChipInfo& info = chipInfo(sw);
  uint8_t ctl = s.i2c.sw[info.slot].control;
  if (info.kind == KIND_SWITCH) return (ctl >> channel) & 1;
  return (ctl & 0x04) && (ctl & 0x03) == channel;  // old mux: one channel, with its enable bit
}
}  // namespace

const ChipInfo& chipInfo(int id) { return chips[id]; }

I2cChipId chipByName(const std::string& name) {
  for (int i = 0; i < I2C_CHIPS; ++i)
    if (name == chips[i].name) return static_cast<I2cChipId>(i);
  return CHIP_NONE;
}

ChipSites topology(const BoardConfig& cfg) {
  ChipSites v;
  switch (cfg.board) {
    case BOARD_MAIN: mainHost(cfg, v); break;
    case BOARD_SIGNAL: signalHost(cfg, v); break;
    case BOARD_FRONT_PANEL: v.push_back({CHIP_FPP_EEPROM, ADAPTER, 0x53, CHIP_NONE, 0}); break;
    case BOARD_MAIN_REF: v.push_back({CHIP_MRP_EEPROM, ADAPTER, 0x50, CHIP_NONE, 0}); break;
  }
  return v;
}

bool routed(const SimState& s, const ChipSites& sites, const ChipSite& site) {
  for (const ChipSite* cur = &site; cur->parent != CHIP_NONE;) {
    const ChipSite* up = siteOf(sites, cur->parent);
    if (!up || s.i2c.fault[up->id].absent || !selects(s, up->id, cur->channel)) return false;
    cur = up;
  }
  return true;
}

std::string pathText(const ChipSites& sites, const ChipSite& site) {
  std::string path;
  for (const ChipSite* cur = &site; cur && cur->parent != CHIP_NONE; cur = siteOf(sites, cur->parent))
    path = std::string(chipInfo(cur->parent).name) + "." + std::to_string(cur->channel) + (path.empty() ? "" : " ") + path;
  return path.empty() ? "direct" : path;
}

}  // namespace sim
