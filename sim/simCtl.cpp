#include "simCtl.h"

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
         "  set switch host|fp|shost pca9545APW|pca9545\n"
         "                                name and address variant of a PCA9545\n"
         "  set mref-addr 0x48|0x4d       where the main-reference sensor answers\n"
         "  set temp DEGREES              temperature the sensors measure, 0 to 127\n"
         "  set adapter omap|full         I2C controller of adapter 2: the instrument's own (omap:\n"
         "                                no SMBus quick, no zero-length message, no block read)\n"
         "                                or a full-featured one\n"
         "  revision FILE|none            revision file of the installed diagnostics\n"
         "  load-recording FILE           chips and FPGA words as a recording of diag (DIAG_RECORD) read\n"
         "                                them, on the board whose system files answer as recorded\n" +
         fpgaCtlUsage() + i2cCtlUsage() + kernelCtlUsage();
}

// The sensors' register holds whole degrees up to 127; the configuration keeps
// thousandths of a degree, unsigned. A word that is not such a number (empty,
// trailing text, nan, huge or negative) is refused rather than converted.
constexpr int MAX_TEMP_DEG = 127;
bool parseDegrees(const std::string& text, double* deg) {
  char* end = nullptr;
  *deg = strtod(text.c_str(), &end);
  return !text.empty() && end && *end == '\0' && *deg >= 0.0 && *deg <= MAX_TEMP_DEG;
}

int setSwitch(SimState& s, const std::string& which, const std::string& variant, std::string& out) {
  int idx = which == "host" ? SW_HOST : which == "fp" ? SW_FP : which == "shost" ? SW_SHOST : -1;
  if (idx < 0 || (variant != "pca9545APW" && variant != "pca9545")) {
    out = "unknown switch or variant\n";
    return 2;
  }
  s.cfg.swVariant[idx] = variant == "pca9545" ? SW_PLAIN : SW_APW;
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
    return 0;
  } else if (a.size() == 4 && a[1] == "switch") {
    return setSwitch(s, a[2], a[3], out);
  } else if (a.size() == 3 && a[1] == "mref-addr" && parseNum(a[2], &v) && (v == 0x48 || v == 0x4d)) {
    s.cfg.mrefSensorAddr = static_cast<uint8_t>(v);
    return 0;
  } else if (a.size() == 3 && a[1] == "adapter" && (a[2] == "omap" || a[2] == "full")) {
    s.cfg.adapter = a[2] == "full" ? ADAPTER_FULL : ADAPTER_OMAP;
    return 0;
  } else if (a.size() == 3 && a[1] == "temp") {
    double deg;
    if (!parseDegrees(a[2], &deg)) {
      out = "set temp: " + a[2] + " is not a temperature from 0 to " + std::to_string(MAX_TEMP_DEG) + " degrees\n";
      return 2;
    }
    s.cfg.localTempMilliC = static_cast<uint32_t>(deg * 1000.0);
    return 0;
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
  snprintf(s.revisionText, sizeof s.revisionText, "%s", ss.str().c_str());
  return 0;
}

std::string show(const SimState& s) {
  char buf[512];
  snprintf(buf, sizeof buf,
           "state %s\nboard %s\nrev %u\nswitch host %s 0x%02x\nswitch fp %s 0x%02x\nswitch shost %s 0x%02x\n"
           "mref-addr 0x%02x\ntemp %.1f\nadapter %s\naccesses %llu\n",
           stateWhere().c_str(), boardName(s.cfg.board), s.cfg.rev, switchName(s.cfg, SW_HOST),
           switchAddr(s.cfg, SW_HOST), switchName(s.cfg, SW_FP), switchAddr(s.cfg, SW_FP),
           switchName(s.cfg, SW_SHOST), switchAddr(s.cfg, SW_SHOST), s.cfg.mrefSensorAddr,
           s.cfg.localTempMilliC / 1000.0, adapterName(s.cfg.adapter), static_cast<unsigned long long>(s.accesses));
  return buf;
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
