#include "psc.h"

#include "log.h"

bool Psc::loggingOn = false;

E_STATUS Psc::PSCFPGALogging(bool on) {
  loggingOn = on;
  return SUCCESS;
}

E_STATUS Psc::notAvailable(const char* fxn) {
  LOGERR_FN(loggingOn ? 3 : 1, fxn, "PSC FPGA of source %d is not reachable in this build\n", source);
  return FAILURE;
}

E_STATUS Psc::PSCFPGASetFrcNotOK(int, bool) { return notAvailable(__func__); }
E_STATUS Psc::PSCFPGAClrErrs(int) { return notAvailable(__func__); }
E_STATUS Psc::PSCFPGAAllOKIn(int, bool*) { return notAvailable(__func__); }
E_STATUS Psc::PSCFPGAAllOKOut(int, bool*) { return notAvailable(__func__); }

namespace {
constexpr int PSC_LOG_SOURCE = 14;  // the voltage source whose FPGA the log command switches
}

void connectPscLog() {
  registerLogCategory("psc", [](bool on) { Psc(PSC_LOG_SOURCE).PSCFPGALogging(on); });
}
