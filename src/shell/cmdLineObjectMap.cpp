#include "cmdLineObjectMap.h"

#include "commands.h"

bool CmdLineObjectMap::mapInitialized = false;

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

std::span<const CmdDecl* const> CmdLineObjectMap::declarations() { return registrationOrder; }

CmdLineObjectMap::CmdLineObjectMap() {
  mapInitialized = true;
  for (const CmdDecl* d : registrationOrder) {
    if (map.count(d->name())) continue;  // a second record of a name already present is dropped
    CmdLineObject& obj = records.emplace_back(*d);
    map.insert(CLOMap::value_type(obj.name, &obj));
  }
}

CmdLineObjectMap* CmdLineObjectMap::getCmdLineMap() {
  static CmdLineObjectMap registry;
  return &registry;
}
