#pragma once
#include "gpmcDev.h"

enum E_GPMC_WV_ACTION {
  GPMC_WV_ACTION_STOP = 0,
  GPMC_WV_ACTION_START = 1,
  GPMC_WV_ACTION_STOP_START = 2,
  GPMC_WV_ACTION_STOP_RUN = 3,
  GPMC_WV_ACTION_START_RUN = 4,
  GPMC_WV_ACTION_DATSTRM_EN = 5
};

// The board FPGA's controls, through its register port: the source and
// waveform switches of wfCtl, the measurement controls and collections of
// a2dCtl, the driver-style acquisition and the OLED reset. Built for the
// operation at hand; it keeps no state of its own.
class GpmcDevCtl {
public:
  explicit GpmcDevCtl(GpmcDev& reg) : reg(reg) {}

  E_STATUS GPMCEnPrimarySrc();
  E_STATUS GPMCDisPrimarySrc();
  E_STATUS GPMCEnOBufWrites();
  E_STATUS GPMCDisOBufWrites();
  E_STATUS GPMCEnDAC();
  E_STATUS startStopWaveForm(E_GPMC_WV_ACTION a);
  E_STATUS GPMCStopWaveForm();
  E_STATUS GPMCStartWaveForm();
  E_STATUS GPMCStopStartWaveForm();

  E_STATUS GPMCFrcMeasReset();
  E_STATUS GPMCInvertWFData(int chan, bool invert);
  E_STATUS GPMCClrWFCtlReg();
  E_STATUS GPMCEnContDataColl();
  E_STATUS GPMCEnOSDataCollNWait4Dn(unsigned long threshold, int* waited);
  void drvrContColl(bool start);
  E_STATUS rstOLED();

private:
  E_STATUS switchBits(const char* fn, unsigned long bits, bool set, const char* failMsg);
  GpmcDev& reg;
};
