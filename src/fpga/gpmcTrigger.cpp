#include "gpmcTrigger.h"

#include "log.h"

void pulseFpgaTrigger() { log(LOG_TERM, "FPGA trigger not available in this build\n"); }
