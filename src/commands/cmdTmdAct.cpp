#include <cstdio>

#include "board.h"
#include "timeLine.h"

namespace {
void show(const TimeLineTime& t) {
  printf("%s\n", timeText(t).c_str());
  fflush(stdout);
}
void action1() { puts("I am timed action 1"); }
void action2() { puts("I am timed action 2"); }
void action3() { puts("I am timed action 3"); }

// Three actions: one at once, one a second later, one two seconds after that.
E_STATUS cmdTmdAct(const Args&, Board&) {
  TimeLineTime clock;
  clock.get();
  TimedAction a1("action1", TimeLineTime(), action1);
  show(a1.time);
  TimedAction a2("action2", TimeLineTime(1, 0), action2);
  show(a2.time);
  TimedAction a3("action3", a2.time + a2.time, action3);
  show(a3.time);
  TimeLine line;
  line.addTimedAction(&a1);
  line.addTimedAction(&a2);
  line.addTimedAction(&a3);
  return line.execTimeLine();
}
}  // namespace

constinit const CmdDecl taCmd = {.help = "Timed Action test", .args = {.name = "ta"}, .handler = cmdTmdAct};
DIAG_COMMAND(taCmd);
