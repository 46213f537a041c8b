#include <cstdint>

#include "board.h"
#include "fanCtlr.h"

namespace {
constexpr int FULL_SPEED_WORD = 6080;  // FAN_COMMAND_1 at 100 %

const char* const head[] = {"fan - probe fan controller chip (MAX31785)"};
// Each option's value is the next word, and the scan still looks at that word
// too; an option that is the last word counts as 0.
const OptDecl dump = flagOpt("-r").says("-r - dump the registers");
const OptDecl writeCount = numOpt("-w", 0, 2).says("-w <number_of_bytes> write to the specified location");
const OptDecl readReg = flagOpt("-rr").says("-rr read the specified register");
const OptDecl datum = numOpt("-d", 0, 0xFFFF).says("-d <datum>  - the data to write");
const OptDecl cmd = numOpt("-o", 0, 0xFF).says("-o <offset/cmd> - where to write the datum");
const OptDecl page = numOpt("-p", 0, FC_MAX_PAGE).says("-p <page> - page where target register/cmd is");
const OptDecl speed = numOpt("-ss", 0, 100).says("-ss <0-100> - set fan speed 0-100%");
const OptDecl showSpeed = flagOpt("-ds").says("-ds display fan speed in rpm");
const OptDecl* const opts[] = {&dump, &writeCount, &readReg, &datum, &cmd, &page, &speed, &showSpeed};

// The word that sets a fan to a percentage of full speed.
unsigned short speedWord(unsigned long percent) {
  int32_t word = static_cast<int32_t>(percent) * FULL_SPEED_WORD / 100;
  return static_cast<unsigned short>(word);
}

// A failed read does not stop the walk; its line says it was not read.
E_STATUS showSpeeds(I2cDevMap& devs) {
  E_STATUS st = SUCCESS;
  for (unsigned char p = 0; p < FC_FAN_PAGES; ++p) {
    unsigned short rpm = 0;
    st = FanCtlr(devs).rdFanCtlrReg(p, FC_READ_FAN_SPEED_1, &rpm);
    if (st == SUCCESS)
      log(LOG_TERM, "%d(0x%04x) rpm\n", rpm, rpm);
    else
      log(LOG_TERM, "fan %d speed not read\n", p + 1);
  }
  return st;
}

// -ss alone, else -ds alone, else -w, -rr and -r in that order; the status of
// the last that ran. A value that was not read is never printed.
E_STATUS fan(const Args& args, Board& board) {
  I2cDevMap& devs = board.i2c;
  const auto pg = static_cast<unsigned char>(args.num(page));
  const auto code = static_cast<unsigned char>(args.num(cmd));
  if (args.has(speed)) return FanCtlr(devs).wrFanCtlrReg(pg, 2, FC_FAN_COMMAND_1, speedWord(args.num(speed)));
  if (args.has(showSpeed)) return showSpeeds(devs);
  E_STATUS st = SUCCESS;
  if (args.has(writeCount))
    st = FanCtlr(devs).wrFanCtlrReg(pg, args.num(writeCount), code, static_cast<unsigned short>(args.num(datum)));
  if (args.has(readReg)) {
    unsigned short value = 0;
    st = FanCtlr(devs).rdFanCtlrReg(pg, code, &value);
    if (st == SUCCESS) log(LOG_TERM, "0x%04x\n", value);
  }
  if (args.has(dump)) {
    FanCtlr fc(devs);
    E_STATUS walk = fc.rdFanCtlrRegs();
    if (fc.anyRead()) fc.dispFanCtlrRegs();
    if (walk != SUCCESS) st = walk;
  }
  return st;
}
}  // namespace

constinit const CmdDecl fanCmd = {
    .help = "Access controller (MAX31785) on Fan Controller board",
    .args = {.name = "fan", .head = head, .opts = opts,
             .rules = {.valueWord = VALUE_SCANNED_TOO, .missing = MISSING_IS_ZERO}},
    .handler = fan};
DIAG_COMMAND(fanCmd);
