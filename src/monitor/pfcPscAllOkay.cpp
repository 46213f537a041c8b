#include "allOkay.h"
#include "pfc.h"
#include "psc.h"

namespace {
constexpr int PSC_SOURCE = 14;
}

E_STATUS PscAllOkay::setOkayOut(bool ok, bool) {
  Psc psc(dev.psc, PSC_SOURCE);
  if (!ok) {
    psc.PSCFPGASetFrcNotOK(PSC_SOURCE, true);
  } else {
    psc.PSCFPGASetFrcNotOK(PSC_SOURCE, false);
    psc.PSCFPGAClrErrs(PSC_SOURCE);
  }
  return SUCCESS;
}

E_STATUS PscAllOkay::chk4AllOkayIn(bool* pOk) {
  Psc psc(dev.psc, PSC_SOURCE);
  return psc.PSCFPGAAllOKIn(PSC_SOURCE, pOk);
}

E_STATUS PscAllOkay::chk4OkayOut(bool* pOk) {
  Psc psc(dev.psc, PSC_SOURCE);
  return psc.PSCFPGAAllOKOut(PSC_SOURCE, pOk);
}

E_STATUS PfcAllOkay::chk4AllOkayIn(bool* pOk) {
  Pfc pfc;
  E_STATUS st = pfc.getData(1);
  *pOk = pfc.getOKIn();
  return st;
}

// The unit's own test decides; its outcome is the answer, not a failure of the check.
E_STATUS PfcAllOkay::chk4OkayOut(bool* pOk) {
  Pfc pfc;
  pfc.POSTTst(0, 1);
  *pOk = pfc.getOK();
  return SUCCESS;
}
