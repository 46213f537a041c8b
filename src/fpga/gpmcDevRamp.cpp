#include "gpmcDevRamp.h"

#include <functional>
#include <initializer_list>

#include "gpmcDevStat.h"
#include "kernel.h"
#include "log.h"
#include "processEnd.h"

namespace {
constexpr unsigned POLL_US = 500;
constexpr unsigned short STEP_UP_CEILING = 0x7fff;
constexpr unsigned short STEP_UP_CLAMP = 0x8000;

struct Step {
  std::function<E_STATUS()> run;
  const char* failMsg;
};

// A ramp-register sequence: each step runs only after the previous one
// succeeded; the first failure is reported with its own text and ends it.
// wfRampCtl is read once and then rewritten from the copy held here.
class RampSeq {
public:
  explicit RampSeq(GpmcDev& dev) : dev(dev) {}
  Step readCtl(const char* msg) {
    return {[this] { return dev.regRd(&ctl, GPMC_WF_RAMP_CTL); }, msg};
  }
  Step ctlWr(unsigned short clear, unsigned short set, bool rdBack, const char* msg) {
    return {[=, this] {
              ctl = static_cast<unsigned short>((ctl & ~clear) | set);
              return dev.regWrWithRdBack(ctl, GPMC_WF_RAMP_CTL, rdBack);
            },
            msg};
  }
  Step regWr(unsigned long reg, unsigned short val, const char* msg) {
    return {[=, this] { return dev.regWrWithRdBack(val, reg, true); }, msg};
  }
  E_STATUS run(const char* fn, std::initializer_list<Step> steps) {
    for (const Step& s : steps) {
      E_STATUS status = s.run();
      if (status != SUCCESS) {
        LOGERR_FN(dev.errFlags(), fn, "%s\n", s.failMsg);
        return status;
      }
    }
    return SUCCESS;
  }

private:
  GpmcDev& dev;
  unsigned short ctl = 0;
};

const char* const RD_CTL_MSG = "failed to read Waveform Amplitude Control Reg.";
const char* const WR_CTL_MSG = "failed to write ramp control reg.";

// What tells a cycle ramp from a timer ramp: its mode bits and the register
// that paces it, with the texts each step reports on failure.
struct RampKind {
  unsigned short mode;
  const char* modeMsg;
  const char* stepUpMsg;
  unsigned long paceReg;
  const char* paceUpMsg;
  const char* paceDownMsg;
};
const RampKind cycleRamp = {0, "failed to enable automated cycle ramp", "failed to set step value",
                            GPMC_WF_AMP_UPDATE_RATE, "failed to write waveform amplitude update rate",
                            "failed to set update rate"};
const RampKind timerRamp = {RAMP_MODE_TIMER, "failed to enable automated timer ramp", "failed to set step up value",
                            GPMC_WF_AMP_TMR_SET_VAL, "failed to write waveform amplitude timer set value",
                            "failed to set timer set value"};

// Up: every step read back but the final enable.
E_STATUS rampUp(GpmcDev& dev, const char* fn, const RampKind& k, unsigned short limit, unsigned short step,
                unsigned short pace) {
  RampSeq q(dev);
  return q.run(fn, {q.readCtl(RD_CTL_MSG), q.ctlWr(RAMP_ENABLE, 0, true, "failed to disable ramping"),
                    q.ctlWr(0, RAMP_DIR_UP, true, "failed to set ramp direction to up"),
                    q.regWr(GPMC_WF_AMP_STEP_VAL, step, k.stepUpMsg),
                    q.ctlWr(RAMP_MODE_MASK, k.mode, true, k.modeMsg),
                    q.regWr(GPMC_WF_AMP_LIM, limit, "failed to write waveform amplitude limit"),
                    q.regWr(k.paceReg, pace, k.paceUpMsg), q.ctlWr(0, RAMP_ENABLE, false, "failed to enable ramping")});
}

// Down: wfRampCtl written plainly, the other registers read back.
E_STATUS rampDown(GpmcDev& dev, const char* fn, const RampKind& k, unsigned short step, unsigned short pace) {
  RampSeq q(dev);
  return q.run(fn, {q.readCtl(RD_CTL_MSG), q.ctlWr(RAMP_ENABLE, 0, false, "failed to disable ramping"),
                    q.regWr(GPMC_WF_AMP_LIM, 0, "failed to write waveform amplitude limit"),
                    q.ctlWr(RAMP_DIR_UP, 0, false, "failed to set ramp direction to down"),
                    q.regWr(GPMC_WF_AMP_SD_VAL, step, "failed to set step down value"),
                    q.ctlWr(RAMP_MODE_MASK, k.mode, false, k.modeMsg), q.regWr(k.paceReg, pace, k.paceDownMsg),
                    q.ctlWr(0, RAMP_ENABLE, false, "failed to enable ramping")});
}

// A polled wait on a ramp register: what it polls, for how long, and its timeout text.
struct WaitSpec {
  unsigned long reg;
  unsigned short mask;
  bool doneWhenSet;  // done when a masked bit is set; else when all masked bits are clear
  long polls;
  long verboseEvery;
  const char* timeoutMsg;
};

const WaitSpec rampStartWait = {GPMC_WF_RAMP_CTL, RAMP_STAT_RUNNING, true, 10000, 1000,
                                "timed out waiting for ramp start"};
const WaitSpec rampEndWait = {GPMC_WF_RAMP_CTL, RAMP_STAT_RUNNING, false, 300000, 1, "timed out waiting for ramp end"};
const WaitSpec atZeroWait = {GPMC_WF_RAMP_CTL, RAMP_STAT_AT_ZERO, true, 300000, 1, "timed out waiting for ramp at-zero"};
const WaitSpec atTgtLimWait = {GPMC_WF_RAMP_CTL, RAMP_STAT_AT_TGT_LIM, true, 300000, 1,
                               "timed out waiting for ramp at-target-limit"};
const WaitSpec curValZeroWait = {GPMC_WF_AMP_CUR_VAL, 0xffff, false, 300000, 1,
                                 "timed out waiting for current value zero"};

E_STATUS waitFor(GpmcDev& dev, const char* fn, const WaitSpec& w, bool verbose, bool quitOnNotOK) {
  E_STATUS status = TIMEOUT;
  long poll = 0;
  for (; poll < w.polls; ++poll) {
    if (interrupted()) return FAILURE;  // the operator stopped the command; the ramp goes on as it is
    if (quitOnNotOK) {
      bool ok = false;
      E_STATUS okStatus = GpmcDevStat(dev).shAllOK(&ok);
      if (okStatus != SUCCESS) return okStatus;
      if (!ok) {
        LOGERR_FN(dev.errFlags(), fn, "quitting with status %d due to signal host All-okay out not okay\n", FAILURE);
        return FAILURE;
      }
    }
    unsigned short v;
    E_STATUS rdStatus = dev.regRd(&v, w.reg);
    if (rdStatus != SUCCESS) return rdStatus;
    if (((v & w.mask) != 0) == w.doneWhenSet) {
      status = SUCCESS;
      break;
    }
    if (verbose && poll % w.verboseEvery == 0) {
      unsigned short cur = 0;
      dev.regRd(&cur, GPMC_WF_AMP_CUR_VAL);
      LOGERR_FN(dev.errFlags(), fn, "current value= 0x%04x\n", cur);
    }
    kernel().sleepUs(POLL_US);
  }
  if (status == TIMEOUT)
    LOGERR_FN(dev.errFlags(), fn, "%s\n", w.timeoutMsg);
  if (verbose) LOGERR_FN(dev.errFlags(), fn, "waited %d microsecs\n", static_cast<int>(poll * POLL_US));
  return status;
}
}  // namespace

// A cycle ramp is paced by its update rate register, which counts from 0.
E_STATUS GpmcDevRamp::GPMCRampUpCyc(unsigned short limit, unsigned short step, unsigned short cycsPerUpdate) {
  return rampUp(reg, __func__, cycleRamp, limit, step, static_cast<unsigned short>(cycsPerUpdate - 1));
}

E_STATUS GpmcDevRamp::GPMCRampDownCyc(unsigned short step, unsigned short cycsPerUpdate) {
  return rampDown(reg, __func__, cycleRamp, step, static_cast<unsigned short>(cycsPerUpdate - 1));
}

E_STATUS GpmcDevRamp::GPMCRampUpTmr(unsigned short limit, unsigned short step, unsigned short tmrVal) {
  return rampUp(reg, __func__, timerRamp, limit, step, tmrVal);
}

E_STATUS GpmcDevRamp::GPMCRampDownTmr(unsigned short step, unsigned short tmrVal) {
  return rampDown(reg, __func__, timerRamp, step, tmrVal);
}

// Manual step: the statuses of the steps before the last write are not checked.
E_STATUS GpmcDevRamp::stepTo(bool up, unsigned short step) {
  unsigned short ctl = 0, cur = 0;
  reg.regRd(&ctl, GPMC_WF_RAMP_CTL);
  ctl &= ~RAMP_ENABLE;
  reg.regWrWithRdBack(ctl, GPMC_WF_RAMP_CTL, true);
  ctl |= RAMP_MODE_MANUAL;
  reg.regWrWithRdBack(ctl, GPMC_WF_RAMP_CTL, true);
  reg.regRd(&cur, GPMC_WF_AMP_CUR_VAL);
  unsigned next;
  if (up)
    next = cur + step > STEP_UP_CEILING ? STEP_UP_CLAMP : cur + step;
  else
    next = cur < step ? 0 : cur - step;
  reg.regWrWithRdBack(static_cast<unsigned short>(next), GPMC_WF_AMP_MAN_SET_VAL, true);
  ctl |= RAMP_ENABLE;
  return reg.regWrWithRdBack(ctl, GPMC_WF_RAMP_CTL, true);
}

E_STATUS GpmcDevRamp::GPMCStepUp(unsigned short step) { return stepTo(true, step); }
E_STATUS GpmcDevRamp::GPMCStepDown(unsigned short step) { return stepTo(false, step); }

E_STATUS GpmcDevRamp::GPMCSetOutput(unsigned short val) {
  RampSeq q(reg);
  unsigned short mode = val == 0 ? RAMP_MODE_MANUAL : RAMP_MODE_MANUAL | RAMP_DIR_UP;
  return q.run(__func__, {q.readCtl("failed to read ramp control reg."), q.ctlWr(RAMP_ENABLE, 0, true, WR_CTL_MSG),
                          q.ctlWr(RAMP_DIR_UP, mode, true, WR_CTL_MSG),
                          q.regWr(GPMC_WF_AMP_MAN_SET_VAL, val, "failed to write amplitude manual set value reg."),
                          q.ctlWr(0, RAMP_ENABLE, false, WR_CTL_MSG)});
}

E_STATUS GpmcDevRamp::disableRamping() {
  RampSeq q(reg);
  return q.run(__func__, {q.readCtl(RD_CTL_MSG), q.ctlWr(RAMP_ENABLE, 0, false, "failed to disable ramping")});
}

E_STATUS GpmcDevRamp::checkForRampEnd(bool* ended) {
  unsigned short ctl;
  E_STATUS status = reg.regRd(&ctl, GPMC_WF_RAMP_CTL);
  if (status == SUCCESS) *ended = (ctl & RAMP_STAT_RUNNING) == 0;
  return status;
}

E_STATUS GpmcDevRamp::waitForRampStart(bool verbose, bool quitOnNotOK) {
  return waitFor(reg, __func__, rampStartWait, verbose, quitOnNotOK);
}
E_STATUS GpmcDevRamp::waitForRampEnd(bool verbose, bool quitOnNotOK) {
  return waitFor(reg, __func__, rampEndWait, verbose, quitOnNotOK);
}
E_STATUS GpmcDevRamp::waitForAtZero(bool verbose, bool quitOnNotOK) {
  return waitFor(reg, __func__, atZeroWait, verbose, quitOnNotOK);
}
E_STATUS GpmcDevRamp::waitForAtTgtLim(bool verbose, bool quitOnNotOK) {
  return waitFor(reg, __func__, atTgtLimWait, verbose, quitOnNotOK);
}
E_STATUS GpmcDevRamp::waitForCurrValZero(bool verbose, bool quitOnNotOK) {
  return waitFor(reg, __func__, curValZeroWait, verbose, quitOnNotOK);
}
