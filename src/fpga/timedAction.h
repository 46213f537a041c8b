#pragma once
#include <string>

#include "timeLineTime.h"

// A named action without arguments, to run at an offset after the action before it.
class TimedAction {
public:
  TimedAction(std::string name, const TimeLineTime& time, void (*axnFunc)())
      : name(std::move(name)), time(time), axnFunc(axnFunc) {}
  std::string name;
  TimeLineTime time;
  void (*axnFunc)();
};
