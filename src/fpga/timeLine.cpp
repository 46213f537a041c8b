#include "timeLine.h"

#include <cstdio>

E_STATUS TimeLine::addTimedAction(TimedAction* action) {
  map.insert(TAMap::value_type(action->name, action));
  return SUCCESS;
}

E_STATUS TimeLine::setSpecTime(TimeLineTime* t) {
  specifiedTime = *t;
  return SUCCESS;
}

E_STATUS TimeLine::execTimeLine() {
  TimeLineTime last;
  int counter = 0;
  for (auto& entry : map) {
    TimedAction* action = entry.second;
    currTime.get();
    bool run = true;
    if (counter == 0)
      run = action->time.now;
    else
      (last + action->time).waitFor(&currTime);
    if (run) {
      if (action->axnFunc) action->axnFunc();
      printf("%s\n", timeText(currTime).c_str());
      fflush(stdout);
    }
    last = currTime;
    ++counter;
  }
  return SUCCESS;
}
