#pragma once
#include "gpmcDev.h"

// The signal host's amplitude ramp engine, through the register port: the
// automated cycle and timer ramps, manual steps and set values, and the
// bounded waits on the engine's status. Built for the operation at hand; it
// keeps no state of its own.
class GpmcDevRamp {
public:
  explicit GpmcDevRamp(GpmcDev& reg) : reg(reg) {}

  E_STATUS GPMCRampUpCyc(unsigned short limit, unsigned short step, unsigned short cycsPerUpdate);
  E_STATUS GPMCRampDownCyc(unsigned short step, unsigned short cycsPerUpdate);
  E_STATUS GPMCRampUpTmr(unsigned short limit, unsigned short step, unsigned short tmrVal);
  E_STATUS GPMCRampDownTmr(unsigned short step, unsigned short tmrVal);
  E_STATUS GPMCStepUp(unsigned short step);
  E_STATUS GPMCStepDown(unsigned short step);
  E_STATUS GPMCSetOutput(unsigned short val);
  E_STATUS disableRamping();
  E_STATUS checkForRampEnd(bool* ended);

  // Each polls every 500 us up to its bound (5 s for the start, 150 s for the
  // others); verbose prints the amplitude while waiting and the time waited;
  // quitOnNotOK gives up at once when the signal host is not okay.
  E_STATUS waitForRampStart(bool verbose, bool quitOnNotOK);
  E_STATUS waitForRampEnd(bool verbose, bool quitOnNotOK);
  E_STATUS waitForAtZero(bool verbose, bool quitOnNotOK);
  E_STATUS waitForAtTgtLim(bool verbose, bool quitOnNotOK);
  E_STATUS waitForCurrValZero(bool verbose, bool quitOnNotOK);

private:
  E_STATUS stepTo(bool up, unsigned short step);
  GpmcDev& reg;
};
