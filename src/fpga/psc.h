#pragma once
#include "diagStatus.h"

// The link to the power-supply-controller FPGAs, which the board holds: PSC
// logging sends their error reports to the system log too.
struct PscLink {
  bool loggingOn = false;
};

// A power-supply-controller FPGA, reached by its voltage source number. The PSC
// FPGA's bus is not part of this build: every transfer says so and fails.
class Psc {
public:
  Psc(PscLink& link, int source) : link(link), source(source) {}
  E_STATUS PSCFPGALogging(bool on);
  E_STATUS PSCFPGASetFrcNotOK(int source, bool notOk);
  E_STATUS PSCFPGAClrErrs(int source);
  E_STATUS PSCFPGAAllOKIn(int source, bool* pOk);
  E_STATUS PSCFPGAAllOKOut(int source, bool* pOk);

private:
  E_STATUS notAvailable(const char* fxn);
  PscLink& link;
  int source;
};
