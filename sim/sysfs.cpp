#include "sysfs.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <vector>

#include "simState.h"

namespace sim {

namespace {
const std::string BUS_DEVICES = "/sys/bus/i2c/devices";
const std::string ADAPTER2_DIR = "/sys/devices/platform/omap/omap_i2c.2/i2c-2";

struct Client {
  int addr;
  std::string name;
};

void declareSwitch(std::vector<Client>& c, const BoardConfig& cfg, SwIndex sw) {
  if (cfg.swVariant[sw] != SW_UNDECLARED) c.push_back({switchAddr(cfg, sw), switchName(cfg, sw)});
}

std::vector<Client> clientsOnAdapter2(const SimState& s) {
  std::vector<Client> c;
  const BoardConfig& cfg = s.cfg;
  switch (cfg.board) {
    case BOARD_MAIN:
      c.push_back({0x56, "24c32"});
      if (usesSwitches(cfg)) {
        declareSwitch(c, cfg, SW_HOST);
        declareSwitch(c, cfg, SW_FP);
      }
      break;
    case BOARD_SIGNAL:
      c.push_back({0x50, "24c32"});
      if (usesSwitches(cfg)) declareSwitch(c, cfg, SW_SHOST);
      break;
    case BOARD_FRONT_PANEL:
      c.push_back({0x53, "24c512_fp"});
      break;
    case BOARD_MAIN_REF:
      c.push_back({0x50, "24c512_ref"});
      break;
  }
  return c;
}

// The processor's thermal zones: /sys/class/thermal/thermal_zoneN with its
// type and its temperature in thousandths of a degree.
const std::string THERMAL_DIR = "/sys/class/thermal";
std::string zoneTempText(const BoardConfig& cfg, int z) {
  if (cfg.zoneFault[z] == ZONE_EMPTY) return "";
  if (cfg.zoneFault[z] != ZONE_IN_DEGREES) return std::to_string(cfg.zoneMilliC[z]) + "\n";
  char buf[32];
  snprintf(buf, sizeof buf, "%.3f\n", cfg.zoneMilliC[z] / 1000.0);
  return buf;
}

bool zoneLookup(const SimState& s, const std::string& path, std::string* content, bool* isDir) {
  if (path == THERMAL_DIR) {
    *isDir = true;
    return true;
  }
  for (int z = 0; z < THERMAL_ZONES; ++z) {
    if (!s.cfg.zonePresent[z]) continue;
    std::string dir = THERMAL_DIR + "/thermal_zone" + std::to_string(z);
    if (path == dir) *isDir = true;
    else if (path == dir + "/type") *content = std::string(zoneType(z)) + "\n";
    else if (path == dir + "/temp") *content = zoneTempText(s.cfg, z);
    else continue;
    return true;
  }
  return false;
}

std::string clientDir(int addr) {
  char buf[16];
  snprintf(buf, sizeof buf, "2-%04x", addr);
  return buf;
}
}  // namespace

bool sysFileLookup(const SimState& s, const std::string& path, std::string* content, bool* isDir) {
  content->clear();
  *isDir = false;
  if (path == "/vesta/diags/revision.txt") {
    if (!s.revisionText[0]) return false;
    *content = s.revisionText;
    return true;
  }
  if (path == "/vesta/diags/diag.cfg") {
    if (!s.configFile[0]) *content = SAMPLE_CFG;
    else if (std::ifstream in{s.configFile, std::ios::binary}; in && strcmp(s.configFile, "none") != 0)
      content->assign(std::istreambuf_iterator<char>(in), {});
    else return false;
    return true;
  }
  if (path == "/vesta/diags/boardrev.txt") {
    *content = s.boardRevText[0] ? s.boardRevText : std::to_string(s.cfg.rev) + "\n";
    return true;
  }
  if (path.rfind(THERMAL_DIR, 0) == 0) return zoneLookup(s, path, content, isDir);
  if (path == ADAPTER2_DIR || path == BUS_DEVICES) {
    *isDir = true;
    return true;
  }
  for (const Client& c : clientsOnAdapter2(s)) {
    std::string dir = clientDir(c.addr);
    if (path == BUS_DEVICES + "/" + dir || path == ADAPTER2_DIR + "/" + dir) {
      *isDir = true;
      return true;
    }
    if (path == ADAPTER2_DIR + "/" + dir + "/name" || path == BUS_DEVICES + "/" + dir + "/name") {
      *content = c.name + "\n";
      return true;
    }
  }
  return false;
}

int sysFileReadError(const SimState& s, const std::string& path) {
  for (int z = 0; z < THERMAL_ZONES; ++z)
    if (s.cfg.zoneFault[z] == ZONE_FAILED && path == THERMAL_DIR + "/thermal_zone" + std::to_string(z) + "/temp") return EIO;
  return 0;
}

}  // namespace sim
