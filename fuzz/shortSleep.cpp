// The program pauses where the parts need time: between PMBus transfers, between
// polls of a register, while an all-okay source settles. On the simulator those
// pauses would make each fuzz input take up to seconds. Linked into every fuzz
// target in place of the C library's usleep: the in-memory instrument's clock
// moves on by the pause at once, so a poll loop keeps its counts and its order
// of accesses and sees the parts change where it would after the real pause.
// (With the state file, whose clock every process shares, a pause lasts at
// most 100 µs instead.)
#include <time.h>
#include <unistd.h>

#include "simStore.h"

extern "C" int usleep(useconds_t us) {
  if (sim::skipTime(us * 1000ull)) return 0;
  constexpr useconds_t MAX_US = 100;
  struct timespec ts = {0, static_cast<long>(us < MAX_US ? us : MAX_US) * 1000};
  return nanosleep(&ts, nullptr);
}
