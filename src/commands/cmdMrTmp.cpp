// The main reference's two temperature sensors: mrtmp shows them, mrtmpwr
// writes one register with read-back.
#include <string>

#include "board.h"
#include "mrefTempSensor.h"

namespace {
const char* const SENSORS[] = {"mrtmp1", "mrtmp2"};

const char* const showHead[] = {"mrtmp - show the main reference temperature sensors (SA56004X)"};
const OptDecl showSensor = numOpt("-s", 1, 2).says("-s <1-2> - only this sensor (default both)");
const OptDecl dump = flagOpt("-r").says("-r - dump the registers as well");
const OptDecl* const showOpts[] = {&showSensor, &dump};

// Each sensor in turn; one that cannot be read is said so and the other still shown.
E_STATUS z9MRefTempRegRd(const Args& args, Board& board) {
  E_STATUS st = SUCCESS;
  for (unsigned long n = 1; n <= 2; ++n) {
    if (args.has(showSensor) && args.num(showSensor) != n) continue;
    MRefTempSensor sensor(board.i2c, SENSORS[n - 1]);
    E_STATUS rd = sensor.rdRegs();
    if (rd != SUCCESS) {
      st = rd;
      continue;
    }
    sensor.dispTemps();
    if (args.has(dump)) sensor.dispRegs();
  }
  return st;
}

const char* const wrHead[] = {"mrtmpwr - write a main reference temperature sensor register and read it back"};
const OptDecl wrSensor = numOpt("-s", 1, 2).says("-s <1-2> - the sensor, mrtmp1 or mrtmp2");
const OptDecl reg = wordOpt("-o").says("-o <register> - by name (mrtmp -r lists them) or read address");
const OptDecl datum = numOpt("-d", 0, 0xFF).says("-d <datum> - the byte to write");
const OptDecl* const wrOpts[] = {&wrSensor, &reg, &datum};

E_STATUS z9MRefTempRegWr(const Args& args, Board& board) {
  for (const OptDecl* o : wrOpts)
    if (!args.has(*o)) {
      LOGERR(LOG_TERM, "mrtmpwr needs -s, -o and -d, see mrtmpwr -h\n");
      return BAD_PARAMETER;
    }
  const char* name = SENSORS[args.num(wrSensor) - 1];
  MRefTempSensor sensor(board.i2c, name);
  const TmpReg* r = sensor.find(args.word(reg));
  if (!r) return BAD_PARAMETER;
  const auto value = static_cast<unsigned char>(args.num(datum));
  E_STATUS st = sensor.regWrWithRdBack(*r, value);
  if (st == SUCCESS) log(LOG_TERM, "%s %s = 0x%02x\n", name, r->reg.pName, value);
  return st;
}
}  // namespace

constinit const CmdDecl mrtmpCmd = {.help = "Show Z9 Main Reference temperatures",
                                    .args = {.name = "mrtmp", .head = showHead, .opts = showOpts},
                                    .handler = z9MRefTempRegRd};
DIAG_COMMAND(mrtmpCmd);
constinit const CmdDecl mrtmpwrCmd = {.help = "Write Z9 Main Reference temp sensor regs",
                                      .args = {.name = "mrtmpwr", .head = wrHead, .opts = wrOpts},
                                      .handler = z9MRefTempRegWr};
DIAG_COMMAND(mrtmpwrCmd);
