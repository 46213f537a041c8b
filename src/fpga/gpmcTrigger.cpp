#include "gpmcTrigger.h"

#include "gpmcDevMap.h"
#include "log.h"

void pulseFpgaTrigger() {
  GpmcDev* reg = GpmcDevMap::find("reg");
  if (!reg) return;
  reg->GPMCEnPrimarySrc();
  reg->GPMCDisPrimarySrc();
}

void connectFpgaLog() {
  setLogTrigger(pulseFpgaTrigger);
  registerLogCategory("fpga", GpmcDev::logging);
}
