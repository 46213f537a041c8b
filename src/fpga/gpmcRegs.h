#pragma once
// Register maps of the board FPGAs: the signal host's full waveform, ramp and
// line-sync set, and the main host's short set, with the bits this program uses.

// Snapshot of the signal-host FPGA registers, in display order.
struct S_GPMC_FPGA_REGS {
  unsigned short devId, rev, scr, clkSel, dds1Freq, dds2Freq, dds3PhaseNCtl, a2dCtl, a2dSmplWrAddr, a2dStat, wfCtl,
      miscCtlStat, wfCycleLen, wfSmplCnt, wfCycCnt, wfAmpLim, wfAmpStepVal, wfAmpUpdateRate, wfAmpCurVal,
      wfAmpManSetVal, wfAmpTmrSetVal, sysIdWd1, sysIdWd2, sysIdWd3, wfRampCtl, wfAmpSDVal, SCLKFreqEstLSW,
      SCLKFreqEstMSW, wfOffsetReq, wfOffsetAct, wfHardLimit, PSOCNumbits, allOKStatCtl, notOKEvntAdr, lnSyncCtlStat,
      lnSyncPerHi, lnSyncPerLo, lnSyncSimPer, mClkCtrStartVal, wClkCtrStartVal, lnSyncTrkrOSThresh, lnSyncCurrOS,
      lnSyncCurrDlta, lnSyncCurrPlsLim, lnSyncCorrPlsLim, lnSyncCorrPlsStat;
};

// Main-host FPGA registers; each one's address is its position.
struct S_GPMC_MH_FPGA_REGS {
  unsigned short devId, rev, scr, miscCtl, miscStat, sysIdWd1, sysIdWd2, sysIdWd3, allOKStatCtl, notOKEvntAdr;
};

// Both hosts' identity words.
constexpr unsigned long GPMC_DEV_ID = 0x00;
constexpr unsigned long GPMC_REV = 0x02;
// Signal-host register byte addresses.
constexpr unsigned long GPMC_CLK_SEL = 0x06;
constexpr unsigned long GPMC_A2D_CTL = 0x0e;
constexpr unsigned long GPMC_A2D_SMPL_WR_ADDR = 0x10;
constexpr unsigned long GPMC_A2D_STAT = 0x12;
constexpr unsigned long GPMC_WF_CTL = 0x14;
constexpr unsigned long GPMC_MISC_CTL_STAT = 0x16;
constexpr unsigned long GPMC_WF_CYC_CNT = 0x1c;
constexpr unsigned long GPMC_WF_AMP_LIM = 0x1e;
constexpr unsigned long GPMC_WF_AMP_STEP_VAL = 0x20;
constexpr unsigned long GPMC_WF_AMP_UPDATE_RATE = 0x22;
constexpr unsigned long GPMC_WF_AMP_CUR_VAL = 0x24;
constexpr unsigned long GPMC_WF_AMP_MAN_SET_VAL = 0x26;
constexpr unsigned long GPMC_WF_AMP_TMR_SET_VAL = 0x28;
constexpr unsigned long GPMC_WF_RAMP_CTL = 0x30;
constexpr unsigned long GPMC_WF_AMP_SD_VAL = 0x32;
constexpr unsigned long GPMC_ALL_OK_STAT_CTL = 0x44;
constexpr unsigned long GPMC_SH_DOG_TICKLE = 0x48;
// Main-host register byte addresses.
constexpr unsigned long GPMC_MH_MISC_CTL = 0x06;
constexpr unsigned long GPMC_MH_MISC_STAT = 0x08;
constexpr unsigned long GPMC_MH_ALL_OK_STAT_CTL = 0x10;
constexpr unsigned long GPMC_MH_DOG_TICKLE = 0x14;
// The bus does not decode address bit 0: an odd address would reach the register below it.
static_assert(((GPMC_DEV_ID | GPMC_REV | GPMC_CLK_SEL | GPMC_A2D_CTL | GPMC_A2D_SMPL_WR_ADDR | GPMC_A2D_STAT |
                GPMC_WF_CTL | GPMC_MISC_CTL_STAT | GPMC_WF_CYC_CNT | GPMC_WF_AMP_LIM | GPMC_WF_AMP_STEP_VAL |
                GPMC_WF_AMP_UPDATE_RATE | GPMC_WF_AMP_CUR_VAL | GPMC_WF_AMP_MAN_SET_VAL | GPMC_WF_AMP_TMR_SET_VAL |
                GPMC_WF_RAMP_CTL | GPMC_WF_AMP_SD_VAL | GPMC_ALL_OK_STAT_CTL | GPMC_SH_DOG_TICKLE | GPMC_MH_MISC_CTL |
                GPMC_MH_MISC_STAT | GPMC_MH_ALL_OK_STAT_CTL | GPMC_MH_DOG_TICKLE) & 1) == 0,
              "a register's byte address is even");

// wfRampCtl
constexpr unsigned short RAMP_MODE_MASK = 0x0003;
constexpr unsigned short RAMP_MODE_TIMER = 0x0001;
constexpr unsigned short RAMP_MODE_MANUAL = 0x0003;
constexpr unsigned short RAMP_DIR_UP = 0x0004;
constexpr unsigned short RAMP_ENABLE = 0x0008;
constexpr unsigned short RAMP_STAT_AT_ZERO = 0x2000;
constexpr unsigned short RAMP_STAT_AT_TGT_LIM = 0x4000;
constexpr unsigned short RAMP_STAT_RUNNING = 0x8000;
// wfCtl
constexpr unsigned short WF_PRIMARY_SRC = 0x0002;
constexpr unsigned short WF_WAVE_RUN = 0x0010;
constexpr unsigned short WF_OBUF_WRITES = 0x0200;
constexpr unsigned short WF_DAC = 0x0400;
constexpr unsigned short WF_DATA_STREAM = 0x1000;
// a2dCtl
constexpr unsigned short A2D_INVERT_CHAN0 = 0x0001;
constexpr unsigned short A2D_INVERT_CHAN1 = 0x0002;
constexpr unsigned short A2D_FRC_MEAS_RESET = 0x0400;
constexpr unsigned short A2D_MEAS_RESET_PRESET = 0x1040;
constexpr unsigned short A2D_ONE_SHOT_COLL = 0x3040;
constexpr unsigned short A2D_CONT_COLL_ARM = 0x9040;
constexpr unsigned short A2D_CONT_COLL_RUN = 0xb040;
constexpr unsigned short A2D_COLL_OFF = 0x0000;
// miscCtlStat
constexpr unsigned short MISC_SH_OK = 0x0002;
constexpr unsigned short MISC_MS_SYS_ALL_OK = 0x4000;
// clkSel
constexpr unsigned short CLK_SEL_EXT_MCLK = 0x0010;
// allOKStatCtl (both hosts)
constexpr unsigned short ALL_OK_DOG_EN = 0x0001;
// main-host miscCtl and miscStat
constexpr unsigned short MH_MISC_MH_OK = 0x0010;
constexpr unsigned short MH_MISC_OLED_NRESET = 0x4000;
constexpr unsigned short MH_STAT_SYS_ALL_OK = 0x0002;
