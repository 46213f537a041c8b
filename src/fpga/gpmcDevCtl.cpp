#include "gpmcDevCtl.h"

#include <cerrno>

#include "kernel.h"
#include "log.h"
#include "processEnd.h"

namespace {
constexpr unsigned COLL_SETTLE_US = 5000;
constexpr unsigned OLED_RESET_US = 500000;
constexpr long ONE_SHOT_POLLS = 1000000;
}  // namespace

E_STATUS GpmcDevCtl::switchBits(const char* fn, unsigned long bits, bool set, const char* failMsg) {
  E_STATUS status = reg.setResetBits(GPMC_WF_CTL, bits, set);
  if (status != SUCCESS)
    LOGERR_FN(reg.errFlags(), fn, "%s\n", failMsg);
  return status;
}

E_STATUS GpmcDevCtl::GPMCEnPrimarySrc() {
  return switchBits(__func__, WF_PRIMARY_SRC, true, "failed to enable primary source");
}
E_STATUS GpmcDevCtl::GPMCDisPrimarySrc() {
  return switchBits(__func__, WF_PRIMARY_SRC, false, "failed to disable primary source");
}
E_STATUS GpmcDevCtl::GPMCEnOBufWrites() {
  return switchBits(__func__, WF_OBUF_WRITES, true, "failed to enable waveform source buffer writes");
}
E_STATUS GpmcDevCtl::GPMCDisOBufWrites() {
  return switchBits(__func__, WF_OBUF_WRITES, false, "failed to disable waveform source buffer writes");
}
E_STATUS GpmcDevCtl::GPMCEnDAC() {
  return switchBits(__func__, WF_DAC, true, "failed to enable waveform to AD5542A DAC");
}

E_STATUS GpmcDevCtl::startStopWaveForm(E_GPMC_WV_ACTION a) {
  static const char* const failMsgs[] = {
      "failed to stop data stream and wave run", "failed to start data stream and wave run",
      "failed to start-stop data stream and wave run", "failed to stop wave run", "failed to start wave run",
      "failed to enable data stream"};
  // Each pair counts by its last step; the start pair is skipped after a failed stop pair.
  auto stopPair = [this] {
    reg.setResetBits(GPMC_WF_CTL, WF_WAVE_RUN, false);
    return reg.setResetBits(GPMC_WF_CTL, WF_DATA_STREAM, false);
  };
  auto startPair = [this] {
    reg.setResetBits(GPMC_WF_CTL, WF_DATA_STREAM, true);
    return reg.setResetBits(GPMC_WF_CTL, WF_WAVE_RUN, true);
  };
  E_STATUS status;
  switch (a) {
    case GPMC_WV_ACTION_STOP: status = stopPair(); break;
    case GPMC_WV_ACTION_START: status = startPair(); break;
    case GPMC_WV_ACTION_STOP_START: status = stopPair() == SUCCESS ? startPair() : FAILURE; break;
    case GPMC_WV_ACTION_STOP_RUN: status = reg.setResetBits(GPMC_WF_CTL, WF_WAVE_RUN, false); break;
    case GPMC_WV_ACTION_START_RUN: status = reg.setResetBits(GPMC_WF_CTL, WF_WAVE_RUN, true); break;
    case GPMC_WV_ACTION_DATSTRM_EN: status = reg.setResetBits(GPMC_WF_CTL, WF_DATA_STREAM, true); break;
    default:
      LOGERR(reg.errFlags(), "unrecognized action\n");
      return FAILURE;
  }
  if (status != SUCCESS)
    LOGERR(reg.errFlags(), "%s\n", failMsgs[a]);
  return status;
}

E_STATUS GpmcDevCtl::GPMCStopWaveForm() { return startStopWaveForm(GPMC_WV_ACTION_STOP); }
E_STATUS GpmcDevCtl::GPMCStartWaveForm() { return startStopWaveForm(GPMC_WV_ACTION_START); }
E_STATUS GpmcDevCtl::GPMCStopStartWaveForm() { return startStopWaveForm(GPMC_WV_ACTION_STOP_START); }

E_STATUS GpmcDevCtl::GPMCFrcMeasReset() {
  if (reg.regWrWithRdBack(A2D_MEAS_RESET_PRESET, GPMC_A2D_CTL, true) != SUCCESS) {
    LOGERR(reg.errFlags(), "failed to write A2D control register\n");
    return FAILURE;
  }
  if (reg.setResetBits(GPMC_A2D_CTL, A2D_FRC_MEAS_RESET, true) != SUCCESS) {
    LOGERR(reg.errFlags(), "failed to set A2D control register bit\n");
    return FAILURE;
  }
  if (reg.setResetBits(GPMC_A2D_CTL, A2D_FRC_MEAS_RESET, false) != SUCCESS) {
    LOGERR(reg.errFlags(), "failed to clear A2D control register bit\n");
    return FAILURE;
  }
  return SUCCESS;
}

E_STATUS GpmcDevCtl::GPMCInvertWFData(int chan, bool invert) {
  E_STATUS status = reg.setResetBits(GPMC_A2D_CTL, chan == 0 ? A2D_INVERT_CHAN0 : A2D_INVERT_CHAN1, invert);
  if (status != SUCCESS)
    LOGERR(reg.errFlags(), "failed to %s chan %d data\n", invert ? "invert" : "non-invert", chan);
  return status;
}

E_STATUS GpmcDevCtl::GPMCClrWFCtlReg() {
  E_STATUS status = reg.regWrWithRdBack(0, GPMC_WF_CTL, true);
  if (status != SUCCESS)
    LOGERR(reg.errFlags(), "failed to clear Waveform Control register\n");
  return status;
}

E_STATUS GpmcDevCtl::GPMCEnContDataColl() {
  E_STATUS status = reg.regWrWithRdBack(A2D_CONT_COLL_ARM, GPMC_A2D_CTL, true);
  kernel().sleepUs(COLL_SETTLE_US);
  if (status != SUCCESS) return status;
  status = reg.regWrWithRdBack(A2D_CONT_COLL_RUN, GPMC_A2D_CTL, true);
  kernel().sleepUs(COLL_SETTLE_US);
  return status;
}

E_STATUS GpmcDevCtl::GPMCEnOSDataCollNWait4Dn(unsigned long threshold, int* waited) {
  unsigned short v;
  if (reg.regRd(&v, GPMC_A2D_STAT) != SUCCESS) {
    LOGERR(reg.errFlags(), "failed to read A2D status from FPGA\n");
    return FAILURE;
  }
  E_STATUS status = reg.regWrWithRdBack(A2D_ONE_SHOT_COLL, GPMC_A2D_CTL, true);
  if (status != SUCCESS) return status;
  *waited = 0;
  for (long poll = 0; poll < ONE_SHOT_POLLS; ++poll) {
    status = reg.regRd(&v, GPMC_A2D_SMPL_WR_ADDR);
    if (status != SUCCESS) {
      LOGERR(reg.errFlags(), "exited loop with bad status= %d\n", status);
      return status;
    }
    if (v > threshold) return reg.regWrWithRdBack(A2D_COLL_OFF, GPMC_A2D_CTL, true);
    if (interrupted()) return FAILURE;  // left collecting, as a timeout leaves it
    kernel().sleepUs(1);
    ++*waited;
  }
  LOGERR(reg.errFlags(), "timed out waiting for collection done\n");
  return TIMEOUT;
}

void GpmcDevCtl::drvrContColl(bool start) {
  E_GPMC_IOCTL request = start ? GPMC_IOCTL_CONT_ACQ_START : GPMC_IOCTL_CONT_ACQ_STOP;
  if (reg.xfer(request, FPGA_FREQUENCY_GENERATOR, 0, nullptr) < 0) {
    int err = errno;
    LOGERR(reg.errFlags(), "failed to %s continuous acquistion (driver style)\n", start ? "start" : "stop");
    logErrno(reg.errFlags(), err);
  }
}

E_STATUS GpmcDevCtl::rstOLED() {
  if (reg.setResetBits(GPMC_MH_MISC_CTL, MH_MISC_OLED_NRESET, false) != SUCCESS) {
    LOGERR(reg.errFlags(), "failed to put OLED in reset\n");
    return FAILURE;
  }
  kernel().sleepUs(OLED_RESET_US);
  if (reg.setResetBits(GPMC_MH_MISC_CTL, MH_MISC_OLED_NRESET, true) != SUCCESS) {
    LOGERR(reg.errFlags(), "failed to take OLED out of reset\n");
    return FAILURE;
  }
  return SUCCESS;
}
