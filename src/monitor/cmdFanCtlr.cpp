#include <cstdlib>
#include <cstring>

#include "commands.h"
#include "fanCtlr.h"
#include "log.h"

namespace {
constexpr int NUM_FANS = 6;
constexpr int FULL_SPEED_WORD = 6080;  // FAN_COMMAND_1 at 100 %

void usage() {
  log(LOG_TERM, "fan - probe fan controller chip (MAX31785)\n");
  log(LOG_TERM, "-r - dump the registers\n");
  log(LOG_TERM, "-w <number_of_bytes> write to the specified location\n");
  log(LOG_TERM, "-rr read the specified register\n");
  log(LOG_TERM, "-d <datum>  - the data to write\n");
  log(LOG_TERM, "-o <offset/cmd> - where to write the datum\n");
  log(LOG_TERM, "-p <page> - page where target register/cmd is\n");
  log(LOG_TERM, "-ss <0-100> - set fan speed 0-100%%\n");
  log(LOG_TERM, "-ds display fan speed in rpm\n");
}

struct FanOpts {
  unsigned char page = 0, offset = 0;
  unsigned short datum = 0, percent = 0;
  unsigned long numBytes = 0;
  bool dump = false, write = false, readReg = false, setSpeed = false, showSpeeds = false;
};

// The word that sets a fan to a percentage of full speed.
unsigned short speedWord(unsigned short percent) {
  int32_t word = static_cast<int32_t>(percent) * FULL_SPEED_WORD / 100;
  return static_cast<unsigned short>(word);
}

E_STATUS showSpeeds() {
  E_STATUS st = SUCCESS;
  for (unsigned char page = 0; page < NUM_FANS; ++page) {
    FanCtlr fc;
    unsigned short rpm = 0;
    st = fc.rdFanCtlrReg(page, FC_READ_FAN_SPEED_1, &rpm);
    log(LOG_TERM, "%d(0x%04x) rpm\n", rpm, rpm);
  }
  return st;
}

E_STATUS runActions(const FanOpts& o) {
  if (o.setSpeed) {
    FanCtlr fc;
    return fc.wrFanCtlrReg(o.page, 2, FC_FAN_COMMAND_1, speedWord(o.percent));
  }
  if (o.showSpeeds) return showSpeeds();
  E_STATUS st = SUCCESS;
  if (o.write) {
    FanCtlr fc;
    st = fc.wrFanCtlrReg(o.page, o.numBytes, o.offset, o.datum);
  }
  if (o.readReg) {
    FanCtlr fc;
    unsigned short datum = 0;
    st = fc.rdFanCtlrReg(o.page, o.offset, &datum);
    log(LOG_TERM, "0x%04x\n", datum);
  }
  if (o.dump) {
    FanCtlr fc;
    fc.rdFanCtlrRegs();
    fc.dispFanCtlrRegs();
  }
  return st;
}
}  // namespace

E_STATUS fan(int argc, char argv[][ARG_LEN]) {
  FanOpts o;
  // Each option's value is the next word; the scan still looks at that word too.
  for (int i = 1; i < argc; ++i) {
    const char* a = argv[i];
    const char* next = i + 1 < argc ? argv[i + 1] : "";
    if (!strcmp(a, "-h")) {
      usage();
      return SUCCESS;
    } else if (!strcmp(a, "-r")) {
      o.dump = true;
    } else if (!strcmp(a, "-p")) {
      o.page = static_cast<unsigned char>(strtoul(next, nullptr, 0));
    } else if (!strcmp(a, "-w")) {
      o.write = true;
      o.numBytes = strtoul(next, nullptr, 0);
    } else if (!strcmp(a, "-rr")) {
      o.readReg = true;
    } else if (!strcmp(a, "-o")) {
      o.offset = static_cast<unsigned char>(strtoul(next, nullptr, 0));
    } else if (!strcmp(a, "-d")) {
      o.datum = static_cast<unsigned short>(strtoul(next, nullptr, 0));
    } else if (!strcmp(a, "-ss")) {
      o.setSpeed = true;
      o.percent = static_cast<unsigned short>(strtoul(next, nullptr, 0));
    } else if (!strcmp(a, "-ds")) {
      o.showSpeeds = true;
    }
  }
  return runActions(o);
}
