#include <unistd.h>

#include <cstdio>

#include "board.h"

namespace {
const char* const head[] = {"log <category> <on|off>", "categories= fpga, psc, all"};
const OptDecl on = flagOpt("on").says("on  - turn syslogging on");
const OptDecl off = flagOpt("off").says("off - turn syslogging off");
const OptDecl fpga = flagOpt("fpga");
const OptDecl psc = flagOpt("psc");
const OptDecl all = flagOpt("all");
const OptDecl testIt = flagOpt("-ts").says("-ts - test syslog");
const OptDecl* const opts[] = {&on, &off, &fpga, &psc, &all, &testIt};
constexpr int PSC_LOG_SOURCE = 14;  // the voltage source whose FPGA the command switches

// Writes a test message to the system log, runs the clock tool and shows its output.
E_STATUS testSyslog() {
  log(LOG_SYS, "syslog test message\n");
  const char* tool = "spclk -f 60 -s 1024 > file_output.txt";
  execl(tool, tool, static_cast<char*>(nullptr));  // returns only when the tool cannot run
  FILE* f = fopen("file_output.txt", "r");
  if (!f) {
    LOGERR(LOG_TERM, "unable to open file file_output.txt\n");
    return FAILURE;
  }
  char line[256];
  while (fgets(line, sizeof line, f)) log(LOG_TERM, "%s", line);
  fclose(f);
  return SUCCESS;
}

// The numbers the trace shows: fpga 1, psc 2, all 3 (none 0).
int categoryNumber(const OptHit* cat) { return !cat ? 0 : cat->opt == &fpga ? 1 : cat->opt == &psc ? 2 : 3; }

E_STATUS switchCategory(const OptDecl* cat, bool onNow, Board& board) {
  if (cat == &all) return setLogFlag(LOG_SYS, onNow);
  if (cat == &psc) return Psc(board.psc, PSC_LOG_SOURCE).PSCFPGALogging(onNow);
  LOGERR(LOG_TERM, "calling gpmcDevLogging( on ), on= %d\n", onNow);
  board.fpga.logging(onNow);
  return SUCCESS;
}

// A later category word overrides an earlier one, and so does on or off; a
// category without either is switched off. "on" opens the system log even when
// the line then names no category.
E_STATUS cmdLog(const Args& args, Board& board) {
  if (args.has(testIt)) return testSyslog();
  if (args.count() < 2 || args.count() > 3) {
    LOGERR(LOG_TERM, "wrong number of arguments, %d, should be 1 or 2\n", args.count() - 1);
    return WRONG_NUM_ARGS;
  }
  if (args.has(on)) logOpen();
  const OptHit* cat = args.lastOf({&fpga, &psc, &all});
  const OptHit* sw = args.lastOf({&on, &off});
  bool onNow = sw && sw->opt == &on;
  LOGERR(LOG_TERM, "category= %d, on= %d\n", categoryNumber(cat), onNow);
  E_STATUS st;
  if (!cat) {
    LOGERR(LOG_TERM, "bad parameter\n");
    st = BAD_PARAMETER;
  } else {
    st = switchCategory(cat->opt, onNow, board);
  }
  LOGERR(LOG_TERM, "exit\n");
  return st;
}
}  // namespace

constinit const CmdDecl logCmd = {
    .help = "Turn syslogging on/off", .args = {.name = "log", .head = head, .opts = opts}, .handler = cmdLog};
DIAG_COMMAND(logCmd);
