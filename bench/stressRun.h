#pragma once
// What the stress programs (diag_sem_stress, diag_damage_stress) share: their
// command line, a /dev/shm of their own, the clock, the program they start and
// the closing line.
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

struct StressArgs {
  long count;
  int workers;
  unsigned seed;
};

inline long long nowMs() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

// COUNT [WORKERS [SEED]] (the seed defaults to the time); false, with the usage said, when out of range.
inline bool stressArgs(int argc, char** argv, const char* usage, StressArgs* a, int minWorkers) {
  if (argc > 1) a->count = atol(argv[1]);
  if (argc > 2) a->workers = atoi(argv[2]);
  a->seed = argc > 3 ? static_cast<unsigned>(strtoul(argv[3], nullptr, 0)) : static_cast<unsigned>(time(nullptr));
  if (a->count >= 1 && a->workers >= minWorkers && a->workers <= 16) return true;
  fprintf(stderr, "usage: %s\n", usage);
  return false;
}

// The named semaphores are system-wide: the run gets a /dev/shm of its own (a
// private mount namespace, as root). False, said, when it cannot.
inline bool ownShm(const char* program) {
  std::string why;
  if (unshare(CLONE_NEWNS) != 0)
    why = std::string("unshare: ") + strerror(errno);
  else if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
    why = std::string("mount: ") + strerror(errno);
  else if (mount("tmpfs", "/dev/shm", "tmpfs", 0, "mode=1777") != 0)
    why = std::string("tmpfs: ") + strerror(errno);
  if (why.empty()) return true;
  fprintf(stderr, "%s needs a /dev/shm of its own (run it as root): %s\n", program, why.c_str());
  return false;
}

// The diag-sim to stress: this build's, or DIAG_BENCH_SIM (an older build, say).
inline std::string simProgram() {
  const char* other = getenv("DIAG_BENCH_SIM");
  return other && *other ? other : DIAG_SIM_BIN;
}

inline void printRunLine(long long startMs) {
  struct utsname u;
  uname(&u);
  printf("duration %.1f s, %ld cores, %s %s\n", (nowMs() - startMs) / 1000.0, sysconf(_SC_NPROCESSORS_ONLN), u.sysname,
         u.machine);
}
