#include "simStore.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "simTrace.h"

namespace sim {

std::string statePath() {
  const char* env = getenv("DIAG_SIM_STATE");
  if (env && *env) return env;
  return "/tmp/diag-sim-" + std::to_string(getuid()) + ".state";
}

namespace {
[[noreturn]] void fatal(const std::string& what) {
  fprintf(stderr, "diag-sim: %s: %s (%s)\n", what.c_str(), statePath().c_str(), strerror(errno));
  exit(1);
}

bool valid(const SimState& s) { return s.magic == SIM_MAGIC && s.layout == SIM_LAYOUT && s.size == sizeof(SimState); }
}  // namespace

SimStore& SimStore::get() {
  static SimStore store;
  return store;
}

// A forked child opens the file again: a lock belongs to an open file, which
// parent and child would otherwise share and so not exclude each other.
void SimStore::openFile() {
  if (fd >= 0) ::close(fd);
  fd = ::open(statePath().c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  if (fd < 0) fatal("cannot open the simulator state");
  ownerPid = getpid();
}

SimStore::SimStore() {
  // Outside the state lock, which every other process waits for.
  traceOpen();
  openFile();
  if (flock(fd, LOCK_EX) != 0) fatal("cannot lock the simulator state");
  struct stat sb;
  if (fstat(fd, &sb) != 0) fatal("cannot read the simulator state");
  bool fresh = static_cast<size_t>(sb.st_size) != sizeof(SimState);
  if (fresh && ftruncate(fd, sizeof(SimState)) != 0) fatal("cannot size the simulator state");
  void* p = ::mmap(nullptr, sizeof(SimState), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  if (p == MAP_FAILED) fatal("cannot map the simulator state");
  st = static_cast<SimState*>(p);
  if (fresh || !valid(*st)) resetState(*st);
  flock(fd, LOCK_UN);
}

void SimStore::lock() {
  threadMutex.lock();
  if (depth++ == 0) {
    if (getpid() != ownerPid) openFile();
    while (flock(fd, LOCK_EX) != 0 && errno == EINTR) {
    }
  }
}

void SimStore::unlock() {
  if (--depth == 0) flock(fd, LOCK_UN);
  threadMutex.unlock();
}

uint64_t nowNs() {
  struct timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<uint64_t>(ts.tv_sec) * 1000000000ull + static_cast<uint64_t>(ts.tv_nsec);
}

}  // namespace sim
