#include "simCtl.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "chipAlias.h"
#include "kernelFault.h"
#include "recordingLoad.h"
#include "simStore.h"

namespace sim {

bool parseNum(const std::string& text, unsigned long* value) {
  if (text.empty()) return false;
  char* end = nullptr;
  *value = strtoul(text.c_str(), &end, 0);
  return end && *end == '\0';
}

namespace {
std::string usage() {
  return "usage: diag-simctl <command> ...\n"
         "  reset                         power-on state, default configuration\n"
         "  power-cycle                   power-on state of the devices, keeping the configuration\n"
         "  show                          configuration of the simulated instrument\n"
         "  set board main|signal|fp|mref which board the program runs on\n"
         "  set rev N                     board revision (below 3: 4-channel muxes)\n"
         "  set rev-text TEXT             the board revision file holds TEXT instead (a damaged file)\n"
         "  set switch host|fp|shost pca9545APW|pca9545|undeclared\n"
         "                                name and address variant of a PCA9545 (undeclared: at the first\n"
         "                                address, with no entry in sysfs)\n"
         "  set mref-addr 0x48|0x4d       where the main-reference sensor answers\n"
         "  set temp DEGREES              temperature every sensor measures, 0 to 127\n"
         "  set sensor mrtmp1|mrtmp2 local|remote DEGREES\n"
         "                                what one channel of a main-reference sensor measures,\n"
         "                                -128 to 127.875, to the eighth of a degree\n"
         "  set sensor mrtmp1|mrtmp2 remote open|closed\n"
         "                                the sensor's remote diode is disconnected, or back\n"
         "  set zone N DEGREES|absent|failed|in-degrees|empty\n"
         "                                the processor's thermal zone N (0-3): its temperature (-273 to\n"
         "                                200, to the thousandth), not there, its reading fails (EIO),\n"
         "                                it reads in degrees (48.500), not thousandths, or it reads empty\n"
         "  set adapter omap|full|smbus   I2C controller of adapter 2: the instrument's own (omap:\n"
         "                                no SMBus quick, no zero-length message, no block read),\n"
         "                                a full-featured one, or one that carries SMBus only\n"
         "  revision FILE|none            revision file of the installed diagnostics\n"
         "  config FILE|sample|none       configuration file of the installed diagnostics\n"
         "  load-recording FILE           chips and FPGA words as a recording of diag (DIAG_RECORD) read\n"
         "                                them, on the board whose system files answer as recorded\n" +
         fpgaCtlUsage() + i2cCtlUsage() + kernelCtlUsage();
}

// The sensors' register holds whole degrees up to 127; the configuration keeps
// thousandths of a degree. A word that is not such a number (empty, trailing
// text, nan, huge or negative) is refused rather than converted.
constexpr int MAX_TEMP_DEG = 127;

// A temperature word within [lo, hi] degrees, in steps of 1/per degree
// (rounded to the nearest step).
bool parseTemp(const std::string& text, double lo, double hi, int per, long* steps) {
  char* end = nullptr;
  double deg = strtod(text.c_str(), &end);
  if (text.empty() || !end || *end != '\0' || !(deg >= lo && deg <= hi)) return false;
  *steps = std::lround(deg * per);
  return true;
}

constexpr int EIGHTHS = 8;
int setSensor(SimState& s, const std::vector<std::string>& a, std::string& out) {
  int slot = a[2] == "mrtmp1" ? 0 : a[2] == "mrtmp2" ? 1 : -1;
  int ch = a[3] == "local" ? CH_LOCAL : a[3] == "remote" ? CH_REMOTE : -1;
  long eighths = 0;
  if (slot < 0 || ch < 0) {
    out = "set sensor: mrtmp1 or mrtmp2, then local or remote\n";
    return 2;
  }
  if (ch == CH_REMOTE && (a[4] == "open" || a[4] == "closed")) {
    s.cfg.remoteOpen[slot] = a[4] == "open";
    return 0;
  }
  if (!parseTemp(a[4], -128.0, 127.875, EIGHTHS, &eighths)) {
    out = "set sensor: " + a[4] + " is not a temperature from -128 to 127.875 degrees" +
          (ch == CH_REMOTE ? " (nor open or closed)\n" : "\n");
    return 2;
  }
  s.cfg.sensorEighths[slot][ch] = static_cast<int16_t>(eighths);
  return 0;
}

constexpr double ZONE_MIN_DEG = -273, ZONE_MAX_DEG = 200;
int setZone(SimState& s, const std::vector<std::string>& a, std::string& out) {
  unsigned long z;
  long milli = 0;
  if (!parseNum(a[2], &z) || z >= THERMAL_ZONES) {
    out = "set zone: " + a[2] + " is not a zone from 0 to " + std::to_string(THERMAL_ZONES - 1) + "\n";
    return 2;
  }
  if (a[3] == "absent" || a[3] == "failed" || a[3] == "in-degrees" || a[3] == "empty") {
    s.cfg.zonePresent[z] = a[3] != "absent";
    s.cfg.zoneFault[z] = a[3] == "failed"       ? ZONE_FAILED
                         : a[3] == "in-degrees" ? ZONE_IN_DEGREES
                         : a[3] == "empty"      ? ZONE_EMPTY
                                                : ZONE_READS;
    return 0;
  }
  if (!parseTemp(a[3], ZONE_MIN_DEG, ZONE_MAX_DEG, 1000, &milli)) {
    out = "set zone: " + a[3] + " is not a temperature from -273 to 200 degrees, nor absent, failed, empty or in-degrees\n";
    return 2;
  }
  s.cfg.zonePresent[z] = 1;
  s.cfg.zoneFault[z] = ZONE_READS;
  s.cfg.zoneMilliC[z] = static_cast<int32_t>(milli);
  return 0;
}

int setSwitch(SimState& s, const std::string& which, const std::string& variant, std::string& out) {
  int idx = which == "host" ? SW_HOST : which == "fp" ? SW_FP : which == "shost" ? SW_SHOST : -1;
  int v = switchVariant(variant);
  if (idx < 0 || v < 0) {
    out = "unknown switch or variant\n";
    return 2;
  }
  s.cfg.swVariant[idx] = static_cast<uint8_t>(v);
  return 0;
}

int set(SimState& s, const std::vector<std::string>& a, std::string& out) {
  unsigned long v;
  if (a.size() == 3 && a[1] == "board") {
    for (uint32_t b = BOARD_MAIN; b <= BOARD_MAIN_REF; ++b)
      if (a[2] == boardName(b)) {
        s.cfg.board = b;
        return 0;
      }
  } else if (a.size() == 3 && a[1] == "rev" && parseNum(a[2], &v)) {
    s.cfg.rev = static_cast<uint32_t>(v);
    s.boardRevText[0] = '\0';
    return 0;
  } else if (a.size() == 3 && a[1] == "rev-text" && a[2].size() < sizeof s.boardRevText) {
    snprintf(s.boardRevText, sizeof s.boardRevText, "%s", a[2].c_str());
    return 0;
  } else if (a.size() == 4 && a[1] == "switch") {
    return setSwitch(s, a[2], a[3], out);
  } else if (a.size() == 3 && a[1] == "mref-addr" && parseNum(a[2], &v) && (v == 0x48 || v == 0x4d)) {
    s.cfg.mrefSensorAddr = static_cast<uint8_t>(v);
    return 0;
  } else if (a.size() == 3 && a[1] == "adapter" && (a[2] == "omap" || a[2] == "full" || a[2] == "smbus")) {
    s.cfg.adapter = a[2] == "full" ? ADAPTER_FULL : a[2] == "smbus" ? ADAPTER_SMBUS : ADAPTER_OMAP;
    return 0;
  } else if (a.size() == 3 && a[1] == "temp") {
    long milli = 0;
    if (!parseTemp(a[2], 0.0, MAX_TEMP_DEG, 1000, &milli)) {
      out = "set temp: " + a[2] + " is not a temperature from 0 to " + std::to_string(MAX_TEMP_DEG) + " degrees\n";
      return 2;
    }
    setAllSensors(s.cfg, static_cast<int32_t>(milli));
    return 0;
  } else if (a.size() == 5 && a[1] == "sensor") {
    return setSensor(s, a, out);
  } else if (a.size() == 4 && a[1] == "zone") {
    return setZone(s, a, out);
  }
  out = "bad set command\n" + usage();
  return 2;
}

int revision(SimState& s, const std::string& file, std::string& out) {
  if (file == "none") {
    s.revisionText[0] = '\0';
    return 0;
  }
  std::ifstream in(file);
  if (!in) {
    out = "cannot read " + file + "\n";
    return 2;
  }
  std::stringstream ss;
  ss << in.rdbuf();
  if (ss.str().size() >= sizeof s.revisionText) {
    out = file + " is longer than the simulator keeps (" + std::to_string(sizeof s.revisionText - 1) + " bytes)\n";
    return 2;
  }
  snprintf(s.revisionText, sizeof s.revisionText, "%s", ss.str().c_str());
  return 0;
}

// The file is read at each access, as the instrument's is: a test may change it between commands.
int config(SimState& s, const std::string& file, std::string& out) {
  if (file.size() >= sizeof s.configFile) {
    out = "config: the path is longer than " + std::to_string(sizeof s.configFile - 1) + " characters\n";
    return 2;
  }
  snprintf(s.configFile, sizeof s.configFile, "%s", file == "sample" ? "" : file.c_str());
  return 0;
}

std::string show(const SimState& s) {
  char buf[512];
  snprintf(buf, sizeof buf,
           "state %s\nboard %s\nrev %u\nswitch host %s 0x%02x\nswitch fp %s 0x%02x\nswitch shost %s 0x%02x\n"
           "mref-addr 0x%02x\ntemp %.1f\nadapter %s\n",
           stateWhere().c_str(), boardName(s.cfg.board), s.cfg.rev, switchName(s.cfg, SW_HOST),
           switchAddr(s.cfg, SW_HOST), switchName(s.cfg, SW_FP), switchAddr(s.cfg, SW_FP),
           switchName(s.cfg, SW_SHOST), switchAddr(s.cfg, SW_SHOST), s.cfg.mrefSensorAddr,
           s.cfg.localTempMilliC / 1000.0, adapterName(s.cfg.adapter));
  std::string out = buf;
  for (int z = 0; z < THERMAL_ZONES; ++z) {
    if (!s.cfg.zonePresent[z]) continue;
    if (s.cfg.zoneFault[z] == ZONE_FAILED || s.cfg.zoneFault[z] == ZONE_EMPTY)
      snprintf(buf, sizeof buf, "zone %d %s %s\n", z, zoneType(z), s.cfg.zoneFault[z] == ZONE_EMPTY ? "empty" : "failed");
    else
      snprintf(buf, sizeof buf, "zone %d %s %.3f%s\n", z, zoneType(z), s.cfg.zoneMilliC[z] / 1000.0,
               s.cfg.zoneFault[z] == ZONE_IN_DEGREES ? " in degrees" : "");
    out += buf;
  }
  return out + "accesses " + std::to_string(s.accesses) + "\n";
}
}  // namespace

int simCtl(const std::vector<std::string>& args, std::string& out) {
  out.clear();
  if (args.empty() || args[0] == "-h" || args[0] == "help") {
    out = usage();
    return args.empty() ? 2 : 0;
  }
  SimLock lk;
  SimState& s = lk.state();
  const std::string& cmd = args[0];
  if (cmd == "reset" && args.size() == 1) {
    resetState(s);
    return 0;
  }
  if (cmd == "power-cycle" && args.size() == 1) {
    resetDevices(s);
    return 0;
  }
  if (cmd == "show") {
    out = show(s);
    return 0;
  }
  if (cmd == "set") return set(s, args, out);
  if (cmd == "revision" && args.size() == 2) return revision(s, args[1], out);
  if (cmd == "config" && args.size() == 2) return config(s, args[1], out);
  if (cmd == "load-recording" && args.size() == 2) return loadRecording(s, args[1], out);
  if (cmd == "fpga") return fpgaCtl(s, args, out);
  if (cmd == "i2c") {
    int rc = i2cCtl(s, withSimChipNames(args), out);
    if (rc != 0 && out.rfind("unknown chip", 0) == 0) out.insert(out.find('\n'), std::string(": ") + chipNameHint());
    return rc;
  }
  if (cmd == "kernel") return kernelCtl(s, args, out);
  out = "unknown command\n" + usage();
  return 2;
}

}  // namespace sim
