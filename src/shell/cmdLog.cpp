#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "argScan.h"
#include "commands.h"
#include "log.h"

namespace {
const char* const usage[] = {"log <category> <on|off>", "categories= fpga, psc, all", "on  - turn syslogging on",
                             "off - turn syslogging off", "-ts - test syslog"};

// Writes a test message to the system log, runs the clock tool and shows its output.
E_STATUS testSyslog(const OptHit&, const ArgScan&) {
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

// "on" opens the system log as soon as it is met, even if the line is then refused.
E_STATUS openSyslog(const OptHit&, const ArgScan&) { return logOpen(); }

const OptDecl opts[] = {flagOpt("on").then(openSyslog), flagOpt("off"), flagOpt("fpga"), flagOpt("psc"),
                        flagOpt("all"), flagOpt("-ts").then(testSyslog).endsScan(), helpOpt()};

// The numbers the trace shows: fpga 1, psc 2, all 3 (none 0).
int categoryNumber(const char* name) { return !strcmp(name, "fpga") ? 1 : !strcmp(name, "psc") ? 2 : 3; }

E_STATUS switchCategory(const char* name, bool on) {
  if (!strcmp(name, "all")) return setLogFlag(LOG_SYS, on);
  if (!strcmp(name, "fpga")) LOGERR(LOG_TERM, "calling gpmcDevLogging( on ), on= %d\n", on);
  if (switchLogCategory(name, on)) return SUCCESS;
  LOGERR(LOG_TERM, "category %s is not in this build\n", name);
  return FXN_NOT_SUPPORTED;
}
}  // namespace

// A later category word overrides an earlier one, and so does on or off; a
// category without either is switched off.
E_STATUS cmdLog(int argc, char argv[][ARG_LEN]) {
  if (argc < 2 || argc > 3) {
    LOGERR(LOG_TERM, "wrong number of arguments, %d, should be 1 or 2\n", argc - 1);
    return WRONG_NUM_ARGS;
  }
  ArgScan scan(logCmd.args, argc, argv);
  E_STATUS st = scan.run();
  if (st != SUCCESS || scan.ended()) return st;
  const OptHit* cat = scan.lastOf({"fpga", "psc", "all"});
  const OptHit* sw = scan.lastOf({"on", "off"});
  bool on = sw && !strcmp(sw->opt->name, "on");
  LOGERR(LOG_TERM, "category= %d, on= %d\n", cat ? categoryNumber(cat->opt->name) : 0, on);
  if (!cat) {
    LOGERR(LOG_TERM, "bad parameter\n");
    st = BAD_PARAMETER;
  } else {
    st = switchCategory(cat->opt->name, on);
  }
  LOGERR(LOG_TERM, "exit\n");
  return st;
}

constinit const CmdDecl logCmd = {
    .help = "Turn syslogging on/off", .args = {.name = "log", .usage = usage, .opts = opts}, .handler = cmdLog};
