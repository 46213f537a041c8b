#pragma once
#include <map>
#include <string>

#include "timedAction.h"

typedef std::map<std::string, TimedAction*> TAMap;

// Runs its actions one after another in the order of their names, each at its
// offset from the moment the one before it ran.
class TimeLine {
public:
  // Adds the action under its name; an action whose name is taken is not added.
  E_STATUS addTimedAction(TimedAction* action);
  E_STATUS setSpecTime(TimeLineTime* t);
  // Only a first action at "now" starts the line: a first action with an
  // offset is not run, and the offsets of the rest count from that moment.
  E_STATUS execTimeLine();

  TAMap map;
  TimeLineTime specifiedTime;
  TimeLineTime currTime;
};
