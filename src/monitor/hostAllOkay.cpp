#include "allOkay.h"
#include "gpmcDevMap.h"
#include "gpmcDevStat.h"
#include "log.h"

namespace {
// The FPGA register target that holds the hosts' okay bits.
GpmcDev* regDev() { return GpmcDevMap::find("reg"); }
}  // namespace

E_STATUS MnAllOkay::setOkayOut(bool ok, bool) {
  GpmcDev* dev = regDev();
  if (!dev) return ENTRY_NOT_FOUND;
  E_STATUS st = GpmcDevStat(*dev).setMHOK(ok);
  log(LOG_TERM, "%s - done\n", __func__);
  return st;
}

E_STATUS MnAllOkay::chk4AllOkayIn(bool* pOk) {
  GpmcDev* dev = regDev();
  return dev ? GpmcDevStat(*dev).mnSysAllOK(pOk) : ENTRY_NOT_FOUND;
}

E_STATUS MnAllOkay::chk4OkayOut(bool* pOk) {
  GpmcDev* dev = regDev();
  return dev ? GpmcDevStat(*dev).mhAllOK(pOk) : ENTRY_NOT_FOUND;
}

E_STATUS ShAllOkay::setOkayOut(bool ok, bool) {
  GpmcDev* dev = regDev();
  return dev ? GpmcDevStat(*dev).setSHOK(ok) : ENTRY_NOT_FOUND;
}

E_STATUS ShAllOkay::chk4AllOkayIn(bool* pOk) {
  GpmcDev* dev = regDev();
  return dev ? GpmcDevStat(*dev).msSysAllOK(pOk) : ENTRY_NOT_FOUND;
}

E_STATUS ShAllOkay::chk4OkayOut(bool* pOk) {
  GpmcDev* dev = regDev();
  return dev ? GpmcDevStat(*dev).shAllOK(pOk) : ENTRY_NOT_FOUND;
}
