// GpmcDev: the source and waveform switches, status bits, measurement
// controls, sample collection and the driver's acquisition requests.
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

#include "gpmcDev.h"
#include "kernel.h"
#include "log.h"

namespace {
constexpr unsigned COLL_SETTLE_US = 5000;
constexpr unsigned OLED_RESET_US = 500000;
constexpr long ONE_SHOT_POLLS = 1000000;
constexpr int STABLE_ADDR_READS = 20;
constexpr int REG_DEVTYPE = FPGA_REG + 1;
constexpr int IBUF_DEVTYPE = FPGA_INPUT_BUFFER + 1;
constexpr int FGEN_DEVTYPE = FPGA_FREQUENCY_GENERATOR + 1;
}  // namespace

E_STATUS GpmcDev::switchBits(const char* fn, unsigned long reg, unsigned long bits, bool set, const char* failMsg) {
  E_STATUS status = setResetBits(reg, bits, set);
  if (status != SUCCESS) LOGERR_FN(errFlags(), fn, "%s\n", failMsg);
  return status;
}

E_STATUS GpmcDev::GPMCEnPrimarySrc() {
  return switchBits(__func__, GPMC_WF_CTL, WF_PRIMARY_SRC, true, "failed to enable primary source");
}
E_STATUS GpmcDev::GPMCDisPrimarySrc() {
  return switchBits(__func__, GPMC_WF_CTL, WF_PRIMARY_SRC, false, "failed to disable primary source");
}
E_STATUS GpmcDev::GPMCEnOBufWrites() {
  return switchBits(__func__, GPMC_WF_CTL, WF_OBUF_WRITES, true, "failed to enable waveform source buffer writes");
}
E_STATUS GpmcDev::GPMCDisOBufWrites() {
  return switchBits(__func__, GPMC_WF_CTL, WF_OBUF_WRITES, false, "failed to disable waveform source buffer writes");
}
E_STATUS GpmcDev::GPMCEnDAC() {
  return switchBits(__func__, GPMC_WF_CTL, WF_DAC, true, "failed to enable waveform to AD5542A DAC");
}
E_STATUS GpmcDev::GPMCDisDAC() {
  return switchBits(__func__, GPMC_WF_CTL, WF_DAC, false, "failed to disable waveform to AD5542A DAC");
}
E_STATUS GpmcDev::GPMCEnDataStream() {
  return switchBits(__func__, GPMC_WF_CTL, WF_DATA_STREAM, true, "failed to enable data stream");
}
E_STATUS GpmcDev::GPMCDisDataStream() {
  return switchBits(__func__, GPMC_WF_CTL, WF_DATA_STREAM, false, "failed to disable data stream");
}
E_STATUS GpmcDev::GPMCSelHVSrc(bool hv) {
  return switchBits(__func__, GPMC_WF_CTL, WF_HV_SRC, hv, "failed to select primary source");
}

E_STATUS GpmcDev::startStopWaveForm(E_GPMC_WV_ACTION a) {
  static const char* const failMsgs[] = {
      "failed to stop data stream and wave run", "failed to start data stream and wave run",
      "failed to start-stop data stream and wave run", "failed to stop wave run", "failed to start wave run",
      "failed to enable data stream"};
  // Each pair counts by its last step; the start pair is skipped after a failed stop pair.
  auto stopPair = [this] {
    setResetBits(GPMC_WF_CTL, WF_WAVE_RUN, false);
    return setResetBits(GPMC_WF_CTL, WF_DATA_STREAM, false);
  };
  auto startPair = [this] {
    setResetBits(GPMC_WF_CTL, WF_DATA_STREAM, true);
    return setResetBits(GPMC_WF_CTL, WF_WAVE_RUN, true);
  };
  E_STATUS status;
  switch (a) {
    case GPMC_WV_ACTION_STOP: status = stopPair(); break;
    case GPMC_WV_ACTION_START: status = startPair(); break;
    case GPMC_WV_ACTION_STOP_START: status = stopPair() == SUCCESS ? startPair() : FAILURE; break;
    case GPMC_WV_ACTION_STOP_RUN: status = setResetBits(GPMC_WF_CTL, WF_WAVE_RUN, false); break;
    case GPMC_WV_ACTION_START_RUN: status = setResetBits(GPMC_WF_CTL, WF_WAVE_RUN, true); break;
    case GPMC_WV_ACTION_DATSTRM_EN: status = setResetBits(GPMC_WF_CTL, WF_DATA_STREAM, true); break;
    default:
      LOGERR(errFlags(), "unrecognized action\n");
      return FAILURE;
  }
  if (status != SUCCESS) LOGERR(errFlags(), "%s\n", failMsgs[a]);
  return status;
}

E_STATUS GpmcDev::GPMCStopWaveForm() { return startStopWaveForm(GPMC_WV_ACTION_STOP); }
E_STATUS GpmcDev::GPMCStartWaveForm() { return startStopWaveForm(GPMC_WV_ACTION_START); }
E_STATUS GpmcDev::GPMCStopStartWaveForm() { return startStopWaveForm(GPMC_WV_ACTION_STOP_START); }
E_STATUS GpmcDev::GPMCStartWaveFormRun(bool run) {
  return startStopWaveForm(run ? GPMC_WV_ACTION_START_RUN : GPMC_WV_ACTION_STOP_RUN);
}
E_STATUS GpmcDev::GPMCEnDataStrm() { return startStopWaveForm(GPMC_WV_ACTION_DATSTRM_EN); }

E_STATUS GpmcDev::readBit(unsigned long reg, unsigned long bit, bool* isSet) {
  unsigned short v;
  E_STATUS status = regRd(&v, reg);
  if (status == SUCCESS) *isSet = (v & bit) != 0;
  return status;
}

E_STATUS GpmcDev::shAllOK(bool* ok) { return readBit(GPMC_MISC_CTL_STAT, MISC_SH_OK, ok); }
E_STATUS GpmcDev::msSysAllOK(bool* ok) { return readBit(GPMC_MISC_CTL_STAT, MISC_MS_SYS_ALL_OK, ok); }
E_STATUS GpmcDev::mnSysAllOK(bool* ok) { return readBit(GPMC_MH_MISC_STAT, MH_STAT_SYS_ALL_OK, ok); }
E_STATUS GpmcDev::mhAllOK(bool* ok) { return readBit(GPMC_MH_MISC_CTL, MH_MISC_MH_OK, ok); }

E_STATUS GpmcDev::isDataStrmEnabled(bool* enabled, bool* running) {
  unsigned short v;
  E_STATUS status = regRd(&v, GPMC_WF_CTL);
  if (status != SUCCESS) return status;
  *enabled = (v & WF_DATA_STREAM) != 0;
  *running = (v & WF_WAVE_RUN) != 0;
  return SUCCESS;
}

E_STATUS GpmcDev::setSHOK(bool ok) { return setResetBits(GPMC_MISC_CTL_STAT, MISC_SH_OK, ok); }
E_STATUS GpmcDev::setMHOK(bool ok) { return setResetBits(GPMC_MH_MISC_CTL, MH_MISC_MH_OK, ok); }
E_STATUS GpmcDev::setSHDogEn(bool on) { return setResetBits(GPMC_ALL_OK_STAT_CTL, ALL_OK_DOG_EN, on); }
E_STATUS GpmcDev::setMHDogEn(bool on) { return setResetBits(GPMC_MH_ALL_OK_STAT_CTL, ALL_OK_DOG_EN, on); }
E_STATUS GpmcDev::tickleDog(bool forMainHost) {
  return regWrWithRdBack(0, forMainHost ? GPMC_MH_DOG_TICKLE : GPMC_SH_DOG_TICKLE, false);
}

E_STATUS GpmcDev::GPMCFrcMeasReset() {
  if (regWrWithRdBack(A2D_MEAS_RESET_PRESET, GPMC_A2D_CTL, true) != SUCCESS) {
    LOGERR(errFlags(), "failed to write A2D control register\n");
    return FAILURE;
  }
  if (setResetBits(GPMC_A2D_CTL, A2D_FRC_MEAS_RESET, true) != SUCCESS) {
    LOGERR(errFlags(), "failed to set A2D control register bit\n");
    return FAILURE;
  }
  if (setResetBits(GPMC_A2D_CTL, A2D_FRC_MEAS_RESET, false) != SUCCESS) {
    LOGERR(errFlags(), "failed to clear A2D control register bit\n");
    return FAILURE;
  }
  return SUCCESS;
}

E_STATUS GpmcDev::GPMCInvertWFData(int chan, bool invert) {
  E_STATUS status = setResetBits(GPMC_A2D_CTL, chan == 0 ? A2D_INVERT_CHAN0 : A2D_INVERT_CHAN1, invert);
  if (status != SUCCESS) LOGERR(errFlags(), "failed to %s chan %d data\n", invert ? "invert" : "non-invert", chan);
  return status;
}

E_STATUS GpmcDev::GPMCClrWFCtlReg() {
  E_STATUS status = regWrWithRdBack(0, GPMC_WF_CTL, true);
  if (status != SUCCESS) LOGERR(errFlags(), "failed to clear Waveform Control register\n");
  return status;
}

E_STATUS GpmcDev::GPMCEnContDataColl() {
  E_STATUS status = regWrWithRdBack(A2D_CONT_COLL_ARM, GPMC_A2D_CTL, true);
  usleep(COLL_SETTLE_US);
  if (status != SUCCESS) return status;
  status = regWrWithRdBack(A2D_CONT_COLL_RUN, GPMC_A2D_CTL, true);
  usleep(COLL_SETTLE_US);
  return status;
}

E_STATUS GpmcDev::GPMCEnOSDataCollNWait4Dn(unsigned long threshold, int* waited) {
  unsigned short v;
  if (regRd(&v, GPMC_A2D_STAT) != SUCCESS) {
    LOGERR(errFlags(), "failed to read A2D status from FPGA\n");
    return FAILURE;
  }
  E_STATUS status = regWrWithRdBack(A2D_ONE_SHOT_COLL, GPMC_A2D_CTL, true);
  if (status != SUCCESS) return status;
  *waited = 0;
  for (long poll = 0; poll < ONE_SHOT_POLLS; ++poll) {
    status = regRd(&v, GPMC_A2D_SMPL_WR_ADDR);
    if (status != SUCCESS) {
      LOGERR(errFlags(), "exited loop with bad status= %d\n", status);
      return status;
    }
    if (v > threshold) return regWrWithRdBack(A2D_COLL_OFF, GPMC_A2D_CTL, true);
    usleep(1);
    ++*waited;
  }
  LOGERR(errFlags(), "timed out waiting for collection done\n");
  return TIMEOUT;
}

void GpmcDev::drvrContColl(bool start) {
  unsigned long request = start ? GPMC_IOCTL_CONT_ACQ_START : GPMC_IOCTL_CONT_ACQ_STOP;
  if (xfer(request, FGEN_DEVTYPE, 0, nullptr) < 0) {
    int err = errno;
    LOGERR(errFlags(), "failed to %s continuous acquistion (driver style)\n", start ? "start" : "stop");
    logErrno(errFlags(), err);
  }
}

E_STATUS GpmcDev::rstOLED() {
  if (setResetBits(GPMC_MH_MISC_CTL, MH_MISC_OLED_NRESET, false) != SUCCESS) {
    LOGERR(errFlags(), "failed to put OLED in reset\n");
    return FAILURE;
  }
  usleep(OLED_RESET_US);
  if (setResetBits(GPMC_MH_MISC_CTL, MH_MISC_OLED_NRESET, true) != SUCCESS) {
    LOGERR(errFlags(), "failed to take OLED out of reset\n");
    return FAILURE;
  }
  return SUCCESS;
}

// Blocks of four input-buffer words taken at the A2D's sample address, once
// the address has settled (two equal reads in a row).
E_STATUS GpmcDev::rdOBufToFile(FILE* f, int n) {
  auto rd = [this](int devtype, unsigned long offset, unsigned* v) {
    if (xfer(GPMC_IOCTL_RD, devtype, offset, v) >= 0) return SUCCESS;
    int err = errno;
    LOGERR(errFlags(), "failed to read device %d(0x%02lx), byteCnt= %d\n", devtype, offset, 0);
    logErrno(errFlags(), err);
    return FAILURE;
  };
  for (int block = 0; block < n; ++block) {
    unsigned prev = 0xffff, addr = 0;
    int tries = 0;
    for (; tries < STABLE_ADDR_READS; ++tries, prev = addr) {
      if (rd(REG_DEVTYPE, GPMC_A2D_SMPL_WR_ADDR, &addr) != SUCCESS) return FAILURE;
      if (addr == prev) break;
    }
    if (tries == STABLE_ADDR_READS) {
      LOGERR(errFlags(), "timed out waiting for stable sample address\n");
      return TIMEOUT;
    }
    unsigned long offset = static_cast<unsigned long>(addr) * 4;
    unsigned word = 0;
    if (block == 0 && rd(IBUF_DEVTYPE, offset, &word) != SUCCESS) return FAILURE;
    for (int k = 0; k < 4; ++k, offset += 2) {
      if (rd(IBUF_DEVTYPE, offset, &word) != SUCCESS) return FAILURE;
      fprintf(f, "%04x\n", word & 0xffff);
    }
  }
  return SUCCESS;
}

E_STATUS GpmcDev::GPMCPreventDriverOverflow() {
  S_FPGA_CMD cmd = {0, GPMC_CMD_PREVENT_OVERFLOW, GPMC_DRIVER_BUF_VAL, 0};
  if (kernel().write(adapter(), &cmd, sizeof cmd) < 0) {
    int err = errno;
    LOGERR(errFlags(), "driver write failed\n");
    logErrno(errFlags(), err);
    return FAILURE;
  }
  // The driver's acquisition buffer; the mapping is left in place for the driver's use.
  void* p = kernel().mmap(GPMC_DRIVER_MAP_LEN, PROT_READ | PROT_WRITE, MAP_SHARED, adapter(), 0);
  if (p == nullptr || p == MAP_FAILED) {
    int err = errno;
    LOGERR(errFlags(), "mmap() failed\n");
    logErrno(errFlags(), err);
    return FAILURE;
  }
  return SUCCESS;
}
