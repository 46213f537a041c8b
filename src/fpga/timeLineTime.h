#pragma once
#include <sys/time.h>

#include <string>

#include "diagStatus.h"

// A wall-clock time in seconds and microseconds, or "now" (immediately).
class TimeLineTime {
public:
  TimeLineTime();  // "now"
  TimeLineTime(long sec, long usec);
  explicit TimeLineTime(const timeval* tv);

  // Reads the clock into this time (no longer "now"); the argument is not used.
  E_STATUS get(TimeLineTime* unused = nullptr);
  // Sum of the two times with the microseconds carried; the result is "now".
  TimeLineTime operator+(const TimeLineTime& b) const;
  TimeLineTime& operator+=(const TimeLineTime& b);
  // Difference with the microseconds borrowed; keeps this time's "now".
  TimeLineTime operator-(const TimeLineTime& b) const;
  // Waits until the clock reads this time or later; the clock as last read is
  // stored in reached when given. Sleeps until shortly before the time and
  // watches the clock only for the last stretch, so that a long wait costs
  // next to no processor time and still ends within microseconds of the time.
  E_STATUS waitFor(TimeLineTime* reached);

  bool now;
  timeval time;
};

bool operator==(const TimeLineTime& a, const TimeLineTime& b);
bool operator>(const TimeLineTime& a, const TimeLineTime& b);
bool operator>=(const TimeLineTime& a, const TimeLineTime& b);
// "NOW", or the local date and time with the microseconds as a plain number.
// (A text rather than a stream operator: the program uses no C++ streams,
// whose start-up an operator pays at every run.)
std::string timeText(const TimeLineTime& t);
