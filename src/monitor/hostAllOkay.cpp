#include "allOkay.h"
#include "gpmcDevMap.h"
#include "gpmcDevStat.h"
#include "log.h"

E_STATUS MnAllOkay::setOkayOut(bool ok, bool) {
  GpmcDev* reg = dev.fpga.find("reg");
  if (!reg) return ENTRY_NOT_FOUND;
  E_STATUS st = GpmcDevStat(*reg).setMHOK(ok);
  log(LOG_TERM, "%s - done\n", __func__);
  return st;
}

E_STATUS MnAllOkay::chk4AllOkayIn(bool* pOk) {
  GpmcDev* reg = dev.fpga.find("reg");
  return reg ? GpmcDevStat(*reg).mnSysAllOK(pOk) : ENTRY_NOT_FOUND;
}

E_STATUS MnAllOkay::chk4OkayOut(bool* pOk) {
  GpmcDev* reg = dev.fpga.find("reg");
  return reg ? GpmcDevStat(*reg).mhAllOK(pOk) : ENTRY_NOT_FOUND;
}

E_STATUS ShAllOkay::setOkayOut(bool ok, bool) {
  GpmcDev* reg = dev.fpga.find("reg");
  return reg ? GpmcDevStat(*reg).setSHOK(ok) : ENTRY_NOT_FOUND;
}

E_STATUS ShAllOkay::chk4AllOkayIn(bool* pOk) {
  GpmcDev* reg = dev.fpga.find("reg");
  return reg ? GpmcDevStat(*reg).msSysAllOK(pOk) : ENTRY_NOT_FOUND;
}

E_STATUS ShAllOkay::chk4OkayOut(bool* pOk) {
  GpmcDev* reg = dev.fpga.find("reg");
  return reg ? GpmcDevStat(*reg).shAllOK(pOk) : ENTRY_NOT_FOUND;
}
