#include "gpmcTrigger.h"

#include "gpmcDevCtl.h"
#include "gpmcDevMap.h"
#include "log.h"

void pulseFpgaTrigger() {
  GpmcDev* reg = GpmcDevMap::find("reg");
  if (!reg) return;
  GpmcDevCtl ctl(*reg);
  ctl.GPMCEnPrimarySrc();
  ctl.GPMCDisPrimarySrc();
}

void connectFpgaLog() {
  setLogTrigger(pulseFpgaTrigger);
  registerLogCategory("fpga", GpmcDev::logging);
}
