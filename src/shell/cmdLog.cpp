#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "commands.h"
#include "gpmcDev.h"
#include "log.h"
#include "psc.h"

namespace {
enum { CAT_NONE = 0, CAT_FPGA = 1, CAT_PSC = 2, CAT_ALL = 3 };
constexpr int PSC_LOG_SOURCE = 14;

void usage() {
  log(LOG_TERM, "log <category> <on|off>\n");
  log(LOG_TERM, "categories= fpga, psc, all\n");
  log(LOG_TERM, "on  - turn syslogging on\n");
  log(LOG_TERM, "off - turn syslogging off\n");
  log(LOG_TERM, "-ts - test syslog\n");
}

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
  while (fgets(line, sizeof line, f)) logText(LOG_TERM, line);
  fclose(f);
  return SUCCESS;
}
}  // namespace

E_STATUS cmdLog(int argc, char argv[][ARG_LEN]) {
  if (argc < 2 || argc > 3) {
    LOGERR(LOG_TERM, "wrong number of arguments, %d, should be 1 or 2\n", argc - 1);
    return WRONG_NUM_ARGS;
  }
  int category = CAT_NONE;
  bool on = false;
  for (int i = 1; i < argc; ++i) {
    if (!strcmp(argv[i], "on")) {
      logOpen();
      on = true;
    } else if (!strcmp(argv[i], "off")) {
      on = false;
    } else if (!strcmp(argv[i], "fpga")) {
      category = CAT_FPGA;
    } else if (!strcmp(argv[i], "psc")) {
      category = CAT_PSC;
    } else if (!strcmp(argv[i], "all")) {
      category = CAT_ALL;
    } else if (!strcmp(argv[i], "-ts")) {
      return testSyslog();
    } else if (!strcmp(argv[i], "-h")) {
      usage();
      return SUCCESS;
    }
  }
  LOGERR(LOG_TERM, "category= %d, on= %d\n", category, on);
  E_STATUS status = SUCCESS;
  if (category == CAT_NONE) {
    LOGERR(LOG_TERM, "bad parameter\n");
    status = BAD_PARAMETER;
  } else if (category == CAT_FPGA) {
    LOGERR(LOG_TERM, "calling gpmcDevLogging( on ), on= %d\n", on);
    GpmcDev::logging(on);
  } else if (category == CAT_PSC) {
    Psc psc(PSC_LOG_SOURCE);
    psc.PSCFPGALogging(on);
  } else {
    setLogFlag(LOG_SYS, on);
  }
  LOGERR(LOG_TERM, "exit\n");
  return status;
}
