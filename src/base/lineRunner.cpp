#include "lineRunner.h"

#include "log.h"

namespace {
void (*runner)(std::string) = nullptr;
}

void setCmdRunner(void (*run)(std::string line)) { runner = run; }

void runCmdLine(const std::string& line) {
  if (runner)
    runner(line);
  else
    LOGERR(LOG_TERM, "no shell to run %s\n", line.c_str());
}
