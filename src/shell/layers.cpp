#include "layers.h"

#include "cmdLine.h"
#include "lineRunner.h"
#include "cmdTable.h"
#include "gpmcTrigger.h"
#include "psc.h"

void connectLayers() {
  installCommands();
  setCmdRunner(execCmd);
  connectFpgaLog();
  connectPscLog();
}
