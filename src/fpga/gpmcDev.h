#pragma once
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>

#include "diagStatus.h"
#include "gpmcRegs.h"

// The access targets of the board FPGA behind /dev/z9fpga0. The driver's
// device type of a target is the target plus one.
enum E_GPMC_FPGA_TGT {
  FPGA_INPUT_BUFFER = 0,
  FPGA_OUTPUT_BUFFER = 1,
  FPGA_FREQUENCY_GENERATOR = 2,
  FPGA_REG = 3,
  FPGA_OLEDREG_PSOCBUF = 4,
  FPGA_MAX_NUM_TGTS = 5
};

enum E_GPMC_WV_ACTION {
  GPMC_WV_ACTION_STOP = 0,
  GPMC_WV_ACTION_START = 1,
  GPMC_WV_ACTION_STOP_START = 2,
  GPMC_WV_ACTION_STOP_RUN = 3,
  GPMC_WV_ACTION_START_RUN = 4,
  GPMC_WV_ACTION_DATSTRM_EN = 5
};

// The record the driver takes with every request: four 32-bit fields on every
// build, the pointer field a 32-bit slot that is always 0.
struct S_FPGA_CMD {
  int32_t devtype;
  int32_t offset;
  uint32_t val;
  uint32_t ptr;
};
static_assert(sizeof(S_FPGA_CMD) == 16, "S_FPGA_CMD is the driver's 16-byte record");
static_assert(offsetof(S_FPGA_CMD, devtype) == 0 && offsetof(S_FPGA_CMD, offset) == 4 &&
                  offsetof(S_FPGA_CMD, val) == 8 && offsetof(S_FPGA_CMD, ptr) == 12,
              "S_FPGA_CMD fields are consecutive 32-bit slots");

// Driver requests.
constexpr unsigned long GPMC_IOCTL_RD = 0x11abc1;
constexpr unsigned long GPMC_IOCTL_WR = 0x11abc2;
constexpr unsigned long GPMC_IOCTL_CONT_ACQ_START = 0x11abc6;
constexpr unsigned long GPMC_IOCTL_CONT_ACQ_STOP = 0x11abca;
constexpr int32_t GPMC_CMD_PREVENT_OVERFLOW = 0x11abcb;
constexpr uint32_t GPMC_DRIVER_BUF_VAL = 0x100000;
constexpr size_t GPMC_DRIVER_MAP_LEN = 0x200000;

// One access target of the board FPGA. Every register word, buffer word, ramp
// and wait of the FPGA goes through this class; all targets share the one
// descriptor of /dev/z9fpga0, opened by the first construction.
class GpmcDev : public DiagObject {
public:
  explicit GpmcDev(E_GPMC_FPGA_TGT tgt);
  static void logging(bool on) { sysLoggingOn = on; }
  static bool sysLoggingOn;
  E_GPMC_FPGA_TGT getTarget() const { return target; }

  // Word access.
  E_STATUS read(unsigned short* buf, unsigned long offset, unsigned long nWords, unsigned long* nRead,
                unsigned long silent);
  E_STATUS write(unsigned short* buf, unsigned long offset, unsigned long nWords, unsigned long* nWritten);
  E_STATUS regRd(unsigned short* val, unsigned long offset);
  E_STATUS regWrWithRdBack(unsigned short val, unsigned long offset, bool rdBack);
  E_STATUS setResetBits(unsigned long regOffset, unsigned long bits, bool set);
  E_STATUS setField(unsigned long offset, unsigned char mask, unsigned char value);
  E_STATUS rdFPGARegs(S_GPMC_FPGA_REGS* regs);
  E_STATUS rdFPGARegs(S_GPMC_MH_FPGA_REGS* regs);

  // Output buffer.
  E_STATUS rdOBufLoc(unsigned long offset, unsigned short* val);
  E_STATUS wrOBufLoc(unsigned long offset, unsigned short val);
  E_STATUS rdOBufToFile(FILE* f, int n);
  E_STATUS GPMCPreventDriverOverflow();

  // Source and waveform switches.
  E_STATUS GPMCEnPrimarySrc();
  E_STATUS GPMCDisPrimarySrc();
  E_STATUS GPMCEnOBufWrites();
  E_STATUS GPMCDisOBufWrites();
  E_STATUS GPMCEnDAC();
  E_STATUS GPMCDisDAC();
  E_STATUS GPMCEnDataStream();
  E_STATUS GPMCDisDataStream();
  E_STATUS GPMCSelHVSrc(bool hv);
  E_STATUS startStopWaveForm(E_GPMC_WV_ACTION a);
  E_STATUS GPMCStopWaveForm();
  E_STATUS GPMCStartWaveForm();
  E_STATUS GPMCStopStartWaveForm();
  E_STATUS GPMCStartWaveFormRun(bool run);
  E_STATUS GPMCEnDataStrm();

  // Status reads and writes.
  E_STATUS shAllOK(bool* ok);
  E_STATUS msSysAllOK(bool* ok);
  E_STATUS mnSysAllOK(bool* ok);
  E_STATUS mhAllOK(bool* ok);
  E_STATUS isDataStrmEnabled(bool* enabled, bool* running);
  E_STATUS setSHOK(bool ok);
  E_STATUS setMHOK(bool ok);
  E_STATUS setSHDogEn(bool on);
  E_STATUS setMHDogEn(bool on);
  E_STATUS tickleDog(bool forMainHost);

  // Measurement controls and collection.
  E_STATUS GPMCFrcMeasReset();
  E_STATUS GPMCInvertWFData(int chan, bool invert);
  E_STATUS GPMCClrWFCtlReg();
  E_STATUS GPMCEnContDataColl();
  E_STATUS GPMCEnOSDataCollNWait4Dn(unsigned long threshold, int* waited);
  void drvrContColl(bool start);
  E_STATUS rstOLED();

  // Ramp engine.
  E_STATUS GPMCRampUpCyc(unsigned short limit, unsigned short step, unsigned short cycsPerUpdate);
  E_STATUS GPMCRampDownCyc(unsigned short step, unsigned short cycsPerUpdate);
  E_STATUS GPMCRampUpTmr(unsigned short limit, unsigned short step, unsigned short tmrVal);
  E_STATUS GPMCRampDownTmr(unsigned short step, unsigned short tmrVal);
  E_STATUS GPMCStepUp(unsigned short step);
  E_STATUS GPMCStepDown(unsigned short step);
  E_STATUS GPMCSetOutput(unsigned short val);
  E_STATUS disableRamping();
  E_STATUS checkForRampEnd(bool* ended);
  E_STATUS waitForRampStart(bool verbose, bool quitOnNotOK);
  E_STATUS waitForRampEnd(bool verbose, bool quitOnNotOK);
  E_STATUS waitForAtZero(bool verbose, bool quitOnNotOK);
  E_STATUS waitForAtTgtLim(bool verbose, bool quitOnNotOK);
  E_STATUS waitForCurrValZero(bool verbose, bool quitOnNotOK);

  // Stream value scaling: no conversion is defined; both leave their output as it is.
  E_STATUS ampsToStrmVal(float amps, unsigned short* val);
  E_STATUS strmValToAmps(unsigned short val, float* amps);

  // Flags for error reports: the terminal, and the system log while FPGA logging is on.
  static unsigned long errFlags();

  // A polled wait on a ramp register: what it polls, for how long, and its timeout text.
  struct WaitSpec;

private:
  E_STATUS rdLoop(unsigned short* buf, unsigned long offset, unsigned long nWords, unsigned long* nRead,
                  unsigned long silent);
  E_STATUS wrLoop(unsigned short* buf, unsigned long offset, unsigned long nWords, unsigned long* nWritten);
  E_STATUS rdLoopForOBuf(unsigned short* buf, unsigned long offset, unsigned long nWords, unsigned long* nRead,
                         unsigned long silent);
  E_STATUS wrLoopForOBuf(unsigned short* buf, unsigned long offset, unsigned long nWords, unsigned long* nWritten);
  E_STATUS oBufRd(unsigned long offset, unsigned short* val, unsigned long wordsSoFar);
  static int oBufTwice(unsigned long request, unsigned long offset, unsigned* val);
  // One request to the driver with the record for a device type, offset and
  // value; the value the driver returns is stored back. Returns the driver's result.
  static int xfer(unsigned long request, int devtype, unsigned long offset, unsigned* val);
  // The same around the GPMC semaphore, as every register word is accessed.
  static int lockedXfer(unsigned long request, int devtype, unsigned long offset, unsigned* val);
  E_STATUS switchBits(const char* fn, unsigned long reg, unsigned long bits, bool set, const char* failMsg);
  E_STATUS readBit(unsigned long reg, unsigned long bit, bool* isSet);
  E_STATUS waitFor(const char* fn, const WaitSpec& w, bool verbose, bool quitOnNotOK);
  E_STATUS stepTo(bool up, unsigned short step);
  int devType() const { return target + 1; }
  static int adapter() { return adapterFD.value_or(-1); }

  E_GPMC_FPGA_TGT target;
  // Empty until the first construction has opened /dev/z9fpga0; then the
  // descriptor, or -1 when the open failed (every request then fails). Never closed.
  static std::optional<int> adapterFD;
};
