#pragma once
#include "diagStatus.h"

// A power-supply-controller FPGA, reached by its voltage source number. The PSC
// FPGA's bus is not part of this build: every transfer says so and fails.
class Psc : public DiagObject {
public:
  explicit Psc(int source) : source(source) {}
  E_STATUS PSCFPGALogging(bool on);
  E_STATUS PSCFPGASetFrcNotOK(int source, bool notOk);
  E_STATUS PSCFPGAClrErrs(int source);
  E_STATUS PSCFPGAAllOKIn(int source, bool* pOk);
  E_STATUS PSCFPGAAllOKOut(int source, bool* pOk);

  static bool loggingOn;

private:
  E_STATUS notAvailable(const char* fxn);
  int source;
};

// The "psc" category of the log command: the PSC FPGA's errors to the system log.
void connectPscLog();
