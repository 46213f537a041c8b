#include "gpmcTrigger.h"

#include "gpmcDevMap.h"

void pulseFpgaTrigger() {
  GpmcDev* reg = GpmcDevMap::find("reg");
  if (!reg) return;
  reg->GPMCEnPrimarySrc();
  reg->GPMCDisPrimarySrc();
}
