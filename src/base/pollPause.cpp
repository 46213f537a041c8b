#include "pollPause.h"

#include <time.h>

#include <algorithm>

namespace {
constexpr long LONGEST_PAUSE_US = 10000;
constexpr long long TELL_AFTER_MS = 5000;

long long nowMs() {
  struct timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return static_cast<long long>(t.tv_sec) * 1000 + t.tv_nsec / 1000000;
}
}  // namespace

bool PollPause::sleep() {
  if (startMs < 0) startMs = nowMs();  // not before: most waits end before their first pause
  struct timespec t = {0, pauseUs * 1000};
  nanosleep(&t, nullptr);  // cut short by a signal: the caller polls again at once
  pauseUs = std::min(pauseUs * 2, LONGEST_PAUSE_US);
  if (told || nowMs() - startMs < TELL_AFTER_MS) return false;
  told = true;
  return true;
}
