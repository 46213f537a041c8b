#pragma once
// Handlers of the operator commands, each in the file named after it.
#include <cstdlib>
#include "diagStatus.h"

#define DIAG_HANDLER(name) E_STATUS name(int argc, char argv[][ARG_LEN])

DIAG_HANDLER(testExec);
DIAG_HANDLER(listTests);
DIAG_HANDLER(version);
DIAG_HANDLER(i2c);
DIAG_HANDLER(help);
DIAG_HANDLER(gpmc);
DIAG_HANDLER(cmdDelay);
DIAG_HANDLER(system);
DIAG_HANDLER(cmdTmdAct);
DIAG_HANDLER(cmdLog);
DIAG_HANDLER(fan);
DIAG_HANDLER(allok);
DIAG_HANDLER(bg);
DIAG_HANDLER(utp);
DIAG_HANDLER(errCode);
