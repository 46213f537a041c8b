// The program pauses where the parts need time: between PMBus transfers, between
// polls of a register, while an all-okay source settles. On the simulator those
// pauses would make each fuzz input take up to seconds. Linked into every fuzz
// target in place of the C library's usleep: each pause lasts at most 100 µs.
// Poll loops keep their counts and their order of accesses; the simulated parts
// still move in real time, so a wait for them may end at its count instead.
#include <time.h>
#include <unistd.h>

extern "C" int usleep(useconds_t us) {
  constexpr useconds_t MAX_US = 100;
  struct timespec ts = {0, static_cast<long>(us < MAX_US ? us : MAX_US) * 1000};
  return nanosleep(&ts, nullptr);
}
