#include "boardConfig.h"

namespace sim {

namespace {
const int swAddrs[SW_COUNT][2] = {{0x71, 0x69}, {0x72, 0x6a}, {0x70, 0x68}};
}

void defaultConfig(BoardConfig& cfg) {
  cfg.board = BOARD_MAIN;
  cfg.rev = 3;
  for (auto& v : cfg.swVariant) v = SW_APW;
  cfg.mrefSensorAddr = 0x48;
  cfg.localTempMilliC = 31000;
  cfg.adapter = ADAPTER_OMAP;
}

bool usesSwitches(const BoardConfig& cfg) { return cfg.rev >= 3; }

int switchAddr(const BoardConfig& cfg, SwIndex sw) { return swAddrs[sw][cfg.swVariant[sw] == SW_PLAIN ? 1 : 0]; }

const char* switchName(const BoardConfig& cfg, SwIndex sw) {
  return cfg.swVariant[sw] == SW_PLAIN ? "pca9545" : "pca9545APW";
}

const char* adapterName(uint32_t adapter) { return adapter == ADAPTER_FULL ? "full" : "omap"; }

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
