#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "memTest.h"
#include "regTest.h"
#include "textUtil.h"

namespace {
// A register in memory whose bits can be stuck, counting its accesses.
template <typename T>
class FakeRegTest : public RegTest<T> {
public:
  FakeRegTest(T mask, T initial) : RegTest<T>("fake", "a fake register", mask, true, false, 0x44), value(initial) {}
  void rd(T* v) override { *v = value; }
  void wr(T* v) override {
    wrote += std::to_string(*v) + " ";
    value = static_cast<T>((*v | stuck1) & ~stuck0);
  }
  void wrrd(T* w, T* r, T) override {
    ++wrrds;
    wr(w);
    rd(r);
  }
  T value;
  T stuck0 = 0, stuck1 = 0;
  int wrrds = 0;
  std::string wrote;
};

template <typename T>
std::string run(RegTest<T>& t, std::vector<std::string> opts, E_STATUS* status = nullptr) {
  char argv[MAX_ARGS][ARG_LEN] = {"runtest", "fake"};
  int argc = 2;
  for (const std::string& o : opts) snprintf(argv[argc++], ARG_LEN, "%s", o.c_str());
  E_STATUS s = INVALID_STATUS;
  std::string out = captured([&] { s = t.runTest(argc, argv); });
  if (status) *status = s;
  return out;
}
}  // namespace

// A healthy register's pass and restore, and -coe, are run against the
// simulated FPGA in testRunnerTest.cpp.
TEST(RegTest, StuckBitFailsAtItsStepAndStopsStepping) {
  FakeRegTest<unsigned short> t(0xFFFF, 0x1234);
  t.stuck0 = 0x0008;
  t.setErrCd(0x1729);
  E_STATUS s;
  std::string out = run(t, {}, &s);
  EXPECT_EQ(s, FAILURE);
  EXPECT_EQ(t.wrrds, 4);  // the fourth step of the walking one, and nothing after it
  EXPECT_NE(out.find("walk:  offset 0x00000044 (loop 0):  exp= 0x00000008, act= 0x00000000\r\n"), std::string::npos);
  EXPECT_NE(out.find("FAILED\n!1729\n"), std::string::npos);
  EXPECT_EQ(t.value, 0x1234 & ~0x0008);  // restored as far as the register can hold it
}

TEST(RegTest, MaskIgnoresBitsOutsideIt) {
  FakeRegTest<unsigned short> t(0x00FF, 0);
  t.stuck1 = 0xFF00;
  E_STATUS s;
  run(t, {"-l", "2"}, &s);
  EXPECT_EQ(s, SUCCESS);

  FakeRegTest<unsigned char> b(0xFF, 0x5A);
  b.stuck1 = 0x01;
  EXPECT_NE(run(b, {}, &s).find("exp= 0x00000002, act= 0x00000003"), std::string::npos);
  EXPECT_EQ(s, FAILURE);
}

TEST(RegTest, HelpAndProgressLine) {
  FakeRegTest<unsigned char> t(0xFF, 0x5A);
  run(t, {"-h"});
  run(t, {});  // after -h, which writes nothing: a one walked up, then a zero, then the value put back
  EXPECT_EQ(t.wrote, "1 2 4 8 16 32 64 128 254 253 251 247 239 223 191 127 90 ");
  std::string out = run(t, {"-l", "21"});
  EXPECT_TRUE(contains(out, "\riterations (wrrd) - 160\riterations (wrrd) - 320\riterations (wrrd) - 336\nPASSED\n"));
}

namespace {
// A word whose data line 4 reads as 0 after healthyFor accesses, as a broken line on the memory bus would.
class StuckLineWord : public DDR3DataLineMemTest {
public:
  using DDR3DataLineMemTest::DDR3DataLineMemTest;
  int healthyFor = 0;

protected:
  void wrrd() override {
    DDR3DataLineMemTest::wrrd();
    if (--healthyFor < 0) rdDatum &= ~0x10u;
  }
};
}  // namespace

TEST(MemTest, DataLinesThroughOneWord) {
  StuckLineWord t("ddr3dl", "Test the DDR3 Main Memory data lines", &arbitraryMemLocation, 0, true, false);
  t.healthyFor = 5 * 64;  // five loops of two 32-step walks: a sixth would fail
  char argv[MAX_ARGS][ARG_LEN] = {"runtest", "ddr3dl", "-l", "5"};
  std::string out = captured([&] { EXPECT_EQ(t.runTest(4, argv), SUCCESS); });
  EXPECT_NE(out.find("runTest - looping 5 times\r\nPASSED\r\n"), std::string::npos);
  EXPECT_EQ(arbitraryMemLocation, 0x7FFFFFFFu);  // the last pattern of the walking zero
}

TEST(MemTest, AStuckDataLineFailsAtItsFirstPattern) {
  StuckLineWord t("ddr3dl", "Test the DDR3 Main Memory data lines", &arbitraryMemLocation, 0, true, false);
  char argv[MAX_ARGS][ARG_LEN] = {"runtest", "ddr3dl", "-l", "3"};
  std::string out = captured([&] { EXPECT_EQ(t.runTest(4, argv), FAILURE); });
  // The walking one finds it at 0x10, and the walk stops there: one mismatch, no later loop.
  EXPECT_NE(out.find("(loop 0):  exp= 0x00000010, act= 0x00000000\r\nFAILED\r\n"), std::string::npos) << out;
  EXPECT_EQ(out.find("exp=", out.find("exp=") + 1), std::string::npos) << out;
}
