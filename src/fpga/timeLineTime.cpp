#include "timeLineTime.h"

#include <ctime>

#include "kernel.h"

namespace {
constexpr long USEC_PER_SEC = 1000000;
// The stretch before the time that is watched on the clock rather than slept:
// longer than the usual lateness of a wake-up from sleep.
constexpr long SPIN_USEC = 300;

long long usecOf(const TimeLineTime& t) {
  return static_cast<long long>(t.time.tv_sec) * USEC_PER_SEC + t.time.tv_usec;
}
}  // namespace

TimeLineTime::TimeLineTime() : now(true), time{0, 0} {}

TimeLineTime::TimeLineTime(long sec, long usec) : now(false), time{sec, usec} {}

TimeLineTime::TimeLineTime(const timeval* tv) : now(false), time(*tv) {}

E_STATUS TimeLineTime::get(TimeLineTime*) {
  struct timespec t = {};  // a clock that cannot be read gives the epoch, not stack bytes
  kernel().clockGet(CLOCK_REALTIME, &t);
  time = {t.tv_sec, t.tv_nsec / 1000};
  now = false;
  return SUCCESS;
}

TimeLineTime TimeLineTime::operator+(const TimeLineTime& b) const {
  TimeLineTime sum;
  sum.time.tv_usec = time.tv_usec + b.time.tv_usec;
  sum.time.tv_sec = time.tv_sec + b.time.tv_sec;
  if (sum.time.tv_usec >= USEC_PER_SEC) {
    sum.time.tv_usec -= USEC_PER_SEC;
    ++sum.time.tv_sec;
  }
  return sum;
}

TimeLineTime& TimeLineTime::operator+=(const TimeLineTime& b) {
  bool wasNow = now;
  *this = *this + b;
  now = wasNow;
  return *this;
}

TimeLineTime TimeLineTime::operator-(const TimeLineTime& b) const {
  TimeLineTime d(*this);
  d.time.tv_sec -= b.time.tv_sec;
  d.time.tv_usec -= b.time.tv_usec;
  if (d.time.tv_usec < 0) {
    d.time.tv_usec += USEC_PER_SEC;
    --d.time.tv_sec;
  }
  return d;
}

E_STATUS TimeLineTime::waitFor(TimeLineTime* reached) {
  TimeLineTime clock;
  for (clock.get(); !(clock >= *this); clock.get()) {
    long long left = usecOf(*this) - usecOf(clock);
    if (left <= SPIN_USEC) continue;
    kernel().sleepUs(left - SPIN_USEC);
  }
  if (reached) *reached = clock;
  return SUCCESS;
}

bool operator==(const TimeLineTime& a, const TimeLineTime& b) {
  return a.time.tv_sec == b.time.tv_sec && a.time.tv_usec == b.time.tv_usec;
}

bool operator>(const TimeLineTime& a, const TimeLineTime& b) {
  return a.time.tv_sec > b.time.tv_sec || (a.time.tv_sec == b.time.tv_sec && a.time.tv_usec > b.time.tv_usec);
}

bool operator>=(const TimeLineTime& a, const TimeLineTime& b) { return a == b || a > b; }

std::string timeText(const TimeLineTime& t) {
  if (t.now) return "NOW";
  struct tm local;
  time_t sec = t.time.tv_sec;
  localtime_r(&sec, &local);
  char date[30];
  strftime(date, sizeof date, "%m-%d-%Y  %T.", &local);
  return date + std::to_string(static_cast<long>(t.time.tv_usec));
}
