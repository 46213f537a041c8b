#include "layers.h"

#include "gpmcTrigger.h"
#include "psc.h"

void connectLayers() {
  connectFpgaLog();
  connectPscLog();
}
