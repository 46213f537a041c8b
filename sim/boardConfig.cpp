#include "boardConfig.h"

namespace sim {

namespace {
const int swAddrs[SW_COUNT][2] = {{0x71, 0x69}, {0x72, 0x6a}, {0x70, 0x68}};
// By SwVariant: the names diag-simctl takes and shows.
const char* const swVariantNames[] = {"pca9545APW", "pca9545", "undeclared"};
constexpr int SW_VARIANTS = sizeof swVariantNames / sizeof *swVariantNames;
const char* const zoneTypes[THERMAL_ZONES] = {"cpu_thermal", "core_thermal", "gpu_thermal", "iva_thermal"};
// At power-on the processor runs warmer than the boards; two of its zones are declared.
const int32_t zoneDefaults[THERMAL_ZONES] = {48500, 46750, 45000, 44000};
constexpr int DEFAULT_ZONES = 2;
constexpr int16_t REMOTE_ABOVE_LOCAL = 20;  // eighths: the board's diode sits 2.5 degrees warmer
}

const char* zoneType(int zone) { return zone >= 0 && zone < THERMAL_ZONES ? zoneTypes[zone] : "?"; }

void setAllSensors(BoardConfig& cfg, int32_t milliC) {
  cfg.localTempMilliC = static_cast<uint32_t>(milliC < 0 ? 0 : milliC);
  for (auto& ch : cfg.sensorEighths) ch[CH_LOCAL] = ch[CH_REMOTE] = static_cast<int16_t>(milliC / 125);
}

void defaultConfig(BoardConfig& cfg) {
  cfg.board = BOARD_MAIN;
  cfg.rev = 3;
  for (auto& v : cfg.swVariant) v = SW_APW;
  cfg.mrefSensorAddr = 0x48;
  cfg.localTempMilliC = 31000;
  cfg.adapter = ADAPTER_OMAP;
  setAllSensors(cfg, static_cast<int32_t>(cfg.localTempMilliC));
  for (auto& ch : cfg.sensorEighths) ch[CH_REMOTE] = static_cast<int16_t>(ch[CH_LOCAL] + REMOTE_ABOVE_LOCAL);
  for (int z = 0; z < THERMAL_ZONES; ++z) {
    cfg.zonePresent[z] = z < DEFAULT_ZONES;
    cfg.zoneMilliC[z] = zoneDefaults[z];
  }
}

bool usesSwitches(const BoardConfig& cfg) { return cfg.rev >= 3; }

int switchAddr(const BoardConfig& cfg, SwIndex sw) { return swAddrs[sw][cfg.swVariant[sw] == SW_PLAIN ? 1 : 0]; }

const char* switchName(const BoardConfig& cfg, SwIndex sw) {
  return swVariantNames[cfg.swVariant[sw] < SW_VARIANTS ? cfg.swVariant[sw] : 0];  // else as at power-on
}

int switchVariant(const std::string& name) {
  for (int v = 0; v < SW_VARIANTS; ++v)
    if (name == swVariantNames[v]) return v;
  return -1;
}

const char* adapterName(uint32_t adapter) {
  return adapter == ADAPTER_FULL ? "full" : adapter == ADAPTER_SMBUS ? "smbus" : "omap";
}

const char* boardName(uint32_t board) {
  switch (board) {
    case BOARD_MAIN: return "main";
    case BOARD_SIGNAL: return "signal";
    case BOARD_FRONT_PANEL: return "fp";
    case BOARD_MAIN_REF: return "mref";
  }
  return "?";
}

}  // namespace sim
