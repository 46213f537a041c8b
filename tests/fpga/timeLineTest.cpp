// Times on the timeline, the order and timing of timed actions, and the ta command.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <vector>

#include "programs.h"
#include "testEnv.h"
#include "textUtil.h"
#include "timeLine.h"

namespace {
long long usec(const TimeLineTime& t) { return t.time.tv_sec * 1000000LL + t.time.tv_usec; }

long long clockUsec() {
  TimeLineTime t;
  t.get();
  return usec(t);
}

std::vector<std::pair<char, long long>> calls;
template <char NAME>
void action() { calls.emplace_back(NAME, clockUsec()); }

// Microseconds since the epoch of a time printed as "%m-%d-%Y  %T." and microseconds.
long long parsePrinted(const std::string& s) {
  struct tm tmv = {};
  const char* us = strptime(s.c_str(), "%m-%d-%Y %T.", &tmv);
  if (!us) return -1;
  tmv.tm_isdst = -1;
  return mktime(&tmv) * 1000000LL + atol(us);
}
}  // namespace

TEST(TimeLineTime, SumsCarryAtAMillionMicrosecondsAndCompareIgnoringNow) {
  TimeLineTime s = TimeLineTime(0, 600000) + TimeLineTime(0, 700000);
  EXPECT_TRUE(s.now);
  EXPECT_TRUE(s == TimeLineTime(1, 300000));
  EXPECT_TRUE(TimeLineTime(0, 500000) + TimeLineTime(0, 500000) == TimeLineTime(1, 0));
  EXPECT_TRUE(TimeLineTime(2, 499999) + TimeLineTime(0, 500000) == TimeLineTime(2, 999999));
  TimeLineTime d = TimeLineTime(2, 100) - TimeLineTime(0, 200);
  EXPECT_TRUE(d == TimeLineTime(1, 999900));
  EXPECT_TRUE(TimeLineTime(3, 200) - TimeLineTime(1, 200) == TimeLineTime(2, 0));  // no borrow at exactly 0
  d += TimeLineTime(0, 100);
  EXPECT_FALSE(d.now);
  EXPECT_TRUE(d == TimeLineTime(2, 0));
  TimeLineTime a(5, 10), b(5, 20);
  EXPECT_TRUE(b > a && !(a > b) && TimeLineTime(6, 0) > b);
  EXPECT_TRUE(a >= TimeLineTime(5, 0) + TimeLineTime(0, 10));
  EXPECT_FALSE(a >= b);
}

TEST(TimeLine, RunsInNameOrderAndOnlyANowFirstActionStartsIt) {
  calls.clear();
  TimedAction b("b", TimeLineTime(0, 80000), action<'b'>);
  TimedAction a("a", TimeLineTime(0, 50000), action<'a'>);
  TimedAction again("b", TimeLineTime(), action<'c'>);
  TimeLine line;
  line.addTimedAction(&b);
  line.addTimedAction(&a);
  line.addTimedAction(&again);  // the name is taken: not added
  ASSERT_EQ(line.map.size(), 2u);
  long long start = clockUsec();
  std::string out = captured([&] { line.execTimeLine(); });
  // a comes first by name and, with an offset instead of "now", never runs.
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].first, 'b');
  EXPECT_GE(calls[0].second - start, 80000);
  EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 1);
}

// The wait sleeps until just before its time and watches the clock only for
// the last stretch: it ends at or after the time, using little processor time.
TEST(TimeLine, WaitEndsAtItsTimeWithoutTakingAProcessor) {
  TimeLineTime target;
  target.get();
  target = target + TimeLineTime(0, 300000);
  target.now = false;
  std::clock_t cpu0 = std::clock();
  TimeLineTime reached;
  ASSERT_EQ(target.waitFor(&reached), SUCCESS);
  double cpu = static_cast<double>(std::clock() - cpu0) / CLOCKS_PER_SEC;
  EXPECT_TRUE(reached >= target);
  EXPECT_FALSE(reached.now);
  EXPECT_LT(cpu, 0.1) << "a wait of 0.3 s used " << cpu << " s of processor time";
}

TEST(TaCommand, ActionsRunAboutOneAndTwoSecondsApart) {
  EnvSet recorded("DIAG_RECORD", testPath("ta.rec"));
  RunResult r = runSim({"ta"});
  ASSERT_EQ(r.exitCode, 0) << r.out;
  // The command reads the clock once for nothing; the timeline then reads it three times before its first wait.
  const std::string rec = readFile(testPath("ta.rec"));
  EXPECT_EQ(countOf(rec.substr(0, rec.find(" sleep ")), " clock realtime"), 4u) << rec;
  std::vector<std::string> lines = splitLines(r.out);
  ASSERT_EQ(lines.size(), 9u) << r.out;
  EXPECT_EQ(lines[0], "NOW");
  EXPECT_TRUE(contains(lines[1], ":01.0")) << lines[1];  // one second, zero microseconds
  EXPECT_EQ(lines[2], "NOW");  // a sum of two times is "now"
  // Each action's time is taken from when the previous one ran.
  for (int i : {1, 2, 3}) EXPECT_EQ(lines[2 * i + 1], "I am timed action " + std::to_string(i));
  long long t1 = parsePrinted(lines[4]), t2 = parsePrinted(lines[6]), t3 = parsePrinted(lines[8]);
  // Never early; late by what a busy machine's scheduler adds, but never by a
  // whole second, which would be a wrong offset rather than a slow machine.
  EXPECT_GE(t2 - t1, 1000000);
  EXPECT_LT(t2 - t1, 1900000);
  EXPECT_GE(t3 - t2, 2000000);
  EXPECT_LT(t3 - t2, 2900000);
}
