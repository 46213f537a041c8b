// The simulated board FPGAs as the chips behave, with the time given
// explicitly so that ramps and collections are checked without waiting.
#include <gtest/gtest.h>

#include <memory>

#include "fpgaEngine.h"
#include "fpgaModel.h"
#include "simState.h"

using namespace sim;

namespace {
constexpr uint64_t T0 = 1000000000000ull;  // an arbitrary moment
constexpr uint64_t MS = 1000000;

class FpgaModel : public ::testing::Test {
protected:
  void SetUp() override {
    resetState(*s);
    s->cfg.board = BOARD_SIGNAL;
    resetFpgaRegs(*s, T0);
  }
  uint16_t rd(uint32_t addr, uint64_t t = T0, FpgaChipId chip = FPGA_SH) { return fpgaRegRead(*s, chip, addr, t); }
  void wr(uint32_t addr, uint16_t v, uint64_t t = T0, FpgaChipId chip = FPGA_SH) { fpgaRegWrite(*s, chip, addr, v, t); }
  bool allOkay(uint64_t t = T0) { return rd(SH_MISC, t) & SH_MISC_ALLOK; }
  // A timer ramp of the given direction from the present amplitude.
  void timerRamp(bool up, uint16_t limit, uint16_t step, uint16_t ticks, uint64_t t) {
    wr(SH_AMP_LIM, limit, t);
    wr(up ? SH_AMP_STEP : SH_AMP_SD, step, t);
    wr(SH_AMP_TMR, ticks, t);
    wr(SH_RAMP_CTL, RAMP_TIMER | (up ? RAMP_UP : 0), t);
    wr(SH_RAMP_CTL, RAMP_TIMER | (up ? RAMP_UP : 0) | RAMP_EN, t);
  }

  std::unique_ptr<SimState> s = std::make_unique<SimState>();
};
}  // namespace

TEST_F(FpgaModel, TimerRampReachesItsLimitAfterTheTimeItsStepAndRateImply) {
  // 0x1000 in steps of 0x100, one step per 100 ticks of 10 us: 16 steps of 1 ms.
  timerRamp(true, 0x1000, 0x100, 100, T0);
  EXPECT_EQ(rd(SH_RAMP_CTL, T0) & (RAMP_RUNNING | RAMP_AT_LIMIT | RAMP_AT_ZERO), RAMP_RUNNING);
  EXPECT_EQ(rd(SH_AMP_CUR, T0 + 15 * MS + MS / 2), 0xf00);
  EXPECT_FALSE(rd(SH_RAMP_CTL, T0 + 15 * MS + MS / 2) & RAMP_AT_LIMIT);
  EXPECT_EQ(rd(SH_AMP_CUR, T0 + 16 * MS), 0x1000);
  EXPECT_EQ(rd(SH_RAMP_CTL, T0 + 16 * MS) & (RAMP_RUNNING | RAMP_AT_LIMIT), RAMP_AT_LIMIT);
  EXPECT_EQ(rd(SH_AMP_CUR, T0 + 1000 * MS), 0x1000);

  // Down to zero in steps of 0x300 (the last one short), one per 10 ticks.
  uint64_t t1 = T0 + 20 * MS;
  timerRamp(false, 0, 0x300, 10, t1);
  EXPECT_EQ(rd(SH_AMP_CUR, t1 + MS / 10), 0xd00);
  EXPECT_EQ(rd(SH_AMP_CUR, t1 + 5 * MS / 10), 0x100);
  EXPECT_FALSE(rd(SH_RAMP_CTL, t1 + 5 * MS / 10) & RAMP_AT_ZERO);
  EXPECT_EQ(rd(SH_AMP_CUR, t1 + 6 * MS / 10), 0);
  EXPECT_EQ(rd(SH_RAMP_CTL, t1 + 6 * MS / 10) & (RAMP_RUNNING | RAMP_AT_ZERO), RAMP_AT_ZERO);
}

TEST_F(FpgaModel, CycleRampMovesOnlyWithTheRunningWaveform) {
  wr(SH_AMP_LIM, 0x30);
  wr(SH_AMP_STEP, 0x10);
  wr(SH_AMP_RATE, 1);  // two cycles per update
  wr(SH_RAMP_CTL, RAMP_UP | RAMP_EN);
  EXPECT_EQ(rd(SH_AMP_CUR, T0 + 1000 * MS), 0);
  EXPECT_TRUE(rd(SH_RAMP_CTL, T0 + 1000 * MS) & RAMP_RUNNING);
  uint64_t run = T0 + 1000 * MS;
  wr(SH_WF_CTL, 0x0010, run);
  EXPECT_EQ(rd(SH_AMP_CUR, run + 2 * WF_CYCLE_NS - 1), 0);
  EXPECT_EQ(rd(SH_AMP_CUR, run + 2 * WF_CYCLE_NS), 0x10);
  EXPECT_EQ(rd(SH_CYC_CNT, run + 5 * WF_CYCLE_NS), 5);
  // Stopping the wave freezes the cycle count and the ramp with it.
  wr(SH_WF_CTL, 0, run + 5 * WF_CYCLE_NS);
  EXPECT_EQ(rd(SH_CYC_CNT, run + 50 * WF_CYCLE_NS), 5);
  EXPECT_EQ(rd(SH_AMP_CUR, run + 50 * WF_CYCLE_NS), 0x20);
  wr(SH_WF_CTL, 0x0010, run + 50 * WF_CYCLE_NS);
  EXPECT_EQ(rd(SH_AMP_CUR, run + 51 * WF_CYCLE_NS), 0x30);
  EXPECT_TRUE(rd(SH_RAMP_CTL, run + 51 * WF_CYCLE_NS) & RAMP_AT_LIMIT);
}

TEST_F(FpgaModel, RampKeepsItsPaceWhenARegisterIsWrittenAndHoldsWhenDisabled) {
  timerRamp(true, 0x1000, 0x100, 100, T0);
  wr(SH_SCR, 1, T0 + 3 * MS / 2);
  wr(SH_AMP_LIM, 0x1000, T0 + 3 * MS / 2);  // rewritten mid-period
  EXPECT_EQ(rd(SH_AMP_CUR, T0 + 2 * MS), 0x200);
  wr(SH_RAMP_CTL, RAMP_TIMER | RAMP_UP, T0 + 2 * MS);
  EXPECT_EQ(rd(SH_AMP_CUR, T0 + 9 * MS), 0x200);
}

TEST_F(FpgaModel, SampleAddressAdvancesDuringACollection) {
  wr(SH_A2D_CTL, 0x3040, T0);  // one-shot
  EXPECT_EQ(rd(SH_A2D_ADDR, T0 + 100 * A2D_WORD_NS), 100);
  EXPECT_EQ(rd(SH_A2D_STAT, T0 + 100 * A2D_WORD_NS), A2D_STAT_RUNNING);
  EXPECT_EQ(rd(SH_A2D_ADDR, T0 + 0x20000 * A2D_WORD_NS), 0xffff);
  EXPECT_EQ(rd(SH_A2D_STAT, T0 + 0x20000 * A2D_WORD_NS), A2D_STAT_DONE);
  uint64_t t1 = T0 + 0x20000 * A2D_WORD_NS;
  wr(SH_A2D_CTL, 0, t1);
  wr(SH_A2D_CTL, 0x9040, t1);  // continuous, armed
  EXPECT_EQ(rd(SH_A2D_ADDR, t1 + 50 * A2D_WORD_NS), 0xffff);
  wr(SH_A2D_CTL, 0xb040, t1);  // and running: wraps round
  EXPECT_EQ(rd(SH_A2D_ADDR, t1 + 0x10005 * A2D_WORD_NS), 5);
  wr(SH_A2D_CTL, 0, t1 + 0x10005 * A2D_WORD_NS);
  EXPECT_EQ(rd(SH_A2D_ADDR, t1 + 0x20000 * A2D_WORD_NS), 5);
}

TEST_F(FpgaModel, EnabledWatchdogsPullTheAllOkayLineASecondAfterTheirLastTickle) {
  wr(SH_ALLOK, ALLOK_DOG_EN, T0);
  wr(SH_TICKLE, 0, T0 + 900 * MS);
  EXPECT_TRUE(allOkay(T0 + 1800 * MS));
  EXPECT_FALSE(allOkay(T0 + 2000 * MS));
  EXPECT_TRUE(rd(SH_ALLOK, T0 + 2000 * MS) & ALLOK_DOG_EXPIRED);
  wr(SH_TICKLE, 0, T0 + 2000 * MS);
  EXPECT_TRUE(allOkay(T0 + 2000 * MS));
  wr(MH_ALLOK, ALLOK_DOG_EN, T0 + 2000 * MS, FPGA_MH);
  EXPECT_FALSE(allOkay(T0 + 3100 * MS));
  wr(MH_TICKLE, 0, T0 + 3100 * MS, FPGA_MH);
  wr(SH_TICKLE, 0, T0 + 3100 * MS);
  EXPECT_TRUE(allOkay(T0 + 3100 * MS));
}
