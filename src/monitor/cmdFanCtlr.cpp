#include <cstdint>

#include "argScan.h"
#include "commands.h"
#include "fanCtlr.h"
#include "log.h"

namespace {
constexpr int FULL_SPEED_WORD = 6080;  // FAN_COMMAND_1 at 100 %

const char* const usage[] = {"fan - probe fan controller chip (MAX31785)",
                             "-r - dump the registers",
                             "-w <number_of_bytes> write to the specified location",
                             "-rr read the specified register",
                             "-d <datum>  - the data to write",
                             "-o <offset/cmd> - where to write the datum",
                             "-p <page> - page where target register/cmd is",
                             "-ss <0-100> - set fan speed 0-100%",
                             "-ds display fan speed in rpm"};
// Each option's value is the next word, and the scan still looks at that word
// too; an option that is the last word counts as 0.
const OptDecl opts[] = {helpOpt(),
                        flagOpt("-r"),
                        numOpt("-p", 0, FC_MAX_PAGE),
                        numOpt("-w", 0, 2),
                        flagOpt("-rr"),
                        numOpt("-o", 0, 0xFF),
                        numOpt("-d", 0, 0xFFFF),
                        numOpt("-ss", 0, 100),
                        flagOpt("-ds")};

// The word that sets a fan to a percentage of full speed.
unsigned short speedWord(unsigned long percent) {
  int32_t word = static_cast<int32_t>(percent) * FULL_SPEED_WORD / 100;
  return static_cast<unsigned short>(word);
}

// A failed read does not stop the walk; its line says it was not read.
E_STATUS showSpeeds() {
  E_STATUS st = SUCCESS;
  for (unsigned char page = 0; page < FC_FAN_PAGES; ++page) {
    unsigned short rpm = 0;
    st = FanCtlr().rdFanCtlrReg(page, FC_READ_FAN_SPEED_1, &rpm);
    if (st == SUCCESS)
      log(LOG_TERM, "%d(0x%04x) rpm\n", rpm, rpm);
    else
      log(LOG_TERM, "fan %d speed not read\n", page + 1);
  }
  return st;
}

E_STATUS runActions(const ArgScan& s) {
  const auto page = static_cast<unsigned char>(s.num("-p"));
  const auto offset = static_cast<unsigned char>(s.num("-o"));
  if (s.has("-ss")) return FanCtlr().wrFanCtlrReg(page, 2, FC_FAN_COMMAND_1, speedWord(s.num("-ss")));
  if (s.has("-ds")) return showSpeeds();
  E_STATUS st = SUCCESS;
  if (s.has("-w")) st = FanCtlr().wrFanCtlrReg(page, s.num("-w"), offset, static_cast<unsigned short>(s.num("-d")));
  if (s.has("-rr")) {
    unsigned short datum = 0;
    st = FanCtlr().rdFanCtlrReg(page, offset, &datum);
    if (st == SUCCESS) log(LOG_TERM, "0x%04x\n", datum);
  }
  if (s.has("-r")) {
    FanCtlr fc;
    E_STATUS walk = fc.rdFanCtlrRegs();
    if (fc.anyRead()) fc.dispFanCtlrRegs();
    if (walk != SUCCESS) st = walk;
  }
  return st;
}
}  // namespace

E_STATUS fan(int argc, char argv[][ARG_LEN]) {
  ArgScan scan(fanCmd.args, argc, argv);
  E_STATUS st = scan.run();
  if (st != SUCCESS || scan.ended()) return st;
  return runActions(scan);
}

constinit const CmdDecl fanCmd = {
    .help = "Access controller (MAX31785) on Fan Controller board",
    .args = {.name = "fan", .usage = usage, .opts = opts,
             .rules = {.valueWord = VALUE_SCANNED_TOO, .missing = MISSING_IS_ZERO}},
    .handler = fan};
