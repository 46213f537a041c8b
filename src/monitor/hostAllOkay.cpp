#include "allOkay.h"
#include "gpmcDevMap.h"
#include "log.h"

namespace {
// The FPGA register target that holds the hosts' okay bits.
GpmcDev* regDev() { return GpmcDevMap::find("reg"); }
}  // namespace

E_STATUS MnAllOkay::setOkayOut(bool ok, bool) {
  GpmcDev* dev = regDev();
  if (!dev) return ENTRY_NOT_FOUND;
  E_STATUS st = dev->setMHOK(ok);
  log(LOG_TERM, "%s - done\n", __func__);
  return st;
}

E_STATUS MnAllOkay::chk4AllOkayIn(bool* pOk) {
  GpmcDev* dev = regDev();
  return dev ? dev->mnSysAllOK(pOk) : ENTRY_NOT_FOUND;
}

E_STATUS MnAllOkay::chk4OkayOut(bool* pOk) {
  GpmcDev* dev = regDev();
  return dev ? dev->mhAllOK(pOk) : ENTRY_NOT_FOUND;
}

E_STATUS ShAllOkay::setOkayOut(bool ok, bool) {
  GpmcDev* dev = regDev();
  return dev ? dev->setSHOK(ok) : ENTRY_NOT_FOUND;
}

E_STATUS ShAllOkay::chk4AllOkayIn(bool* pOk) {
  GpmcDev* dev = regDev();
  return dev ? dev->msSysAllOK(pOk) : ENTRY_NOT_FOUND;
}

E_STATUS ShAllOkay::chk4OkayOut(bool* pOk) {
  GpmcDev* dev = regDev();
  return dev ? dev->shAllOK(pOk) : ENTRY_NOT_FOUND;
}
