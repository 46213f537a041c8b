#include "psc.h"

#include "log.h"

E_STATUS Psc::PSCFPGALogging(bool on) {
  link.loggingOn = on;
  return SUCCESS;
}

E_STATUS Psc::notAvailable(const char* fxn) {
  LOGERR_FN(link.loggingOn ? LOG_TERM | LOG_SYS : LOG_TERM, fxn, "PSC FPGA of source %d is not reachable in this build\n",
            source);
  return FAILURE;
}

E_STATUS Psc::PSCFPGASetFrcNotOK(int, bool) { return notAvailable(__func__); }
E_STATUS Psc::PSCFPGAClrErrs(int) { return notAvailable(__func__); }
E_STATUS Psc::PSCFPGAAllOKIn(int, bool*) { return notAvailable(__func__); }
E_STATUS Psc::PSCFPGAAllOKOut(int, bool*) { return notAvailable(__func__); }
