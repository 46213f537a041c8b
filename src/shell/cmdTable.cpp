#include "cmdTable.h"

#include "cmdLineObjectMap.h"
#include "commands.h"

namespace {
// Registration order.
const CmdDecl* const registrationOrder[] = {
    &runtestCmd, &listtestsCmd, &versionCmd, &i2cCmd,    &helpCmd,   &pingCmd,    &tmpCmd,     &tmpwrCmd,
    &ledCmd,     &ledwrCmd,     &ledshowCmd, &xfrCmd,    &gpmcCmd,   &spiCmd,     &delayCmd,   &systemCmd,
    &rampCmd,    &mtmpCmd,      &mtmpwrCmd,  &taCmd,     &logCmd,    &fpfpgaCmd,  &fptmpCmd,   &fptmpwrCmd,
    &enetCmd,    &pinctrlCmd,   &fanCmd,     &measCmd,   &allokCmd,  &compCmd,    &pscCmd,     &imCmd,
    &oledCmd,    &eepromCmd,    &pfcCmd,     &rstCmd,    &adcCmd,    &revCmd,     &acqCmd,     &lineCmd,
    &bgCmd,      &calcCmd,      &utpCmd,     &ecCmd,     &fileCmd,   &mrtmpCmd,   &mrtmpwrCmd, &mrefCmd,
    &msdatCmd,   &matrixCmd,    &btCmd,      &sfpCmd,    &xmlCmd,    &sdCmd,      &cfgCmd,     &capCmd,
    &xthCmd,     &rmpCmd,       &dtaCmd};
}  // namespace

void installCommands() { CmdLineObjectMap::install(registrationOrder); }
