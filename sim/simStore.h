#pragma once
#include <sys/types.h>

#include <cstdint>
#include <mutex>
#include <string>

#include "simState.h"

namespace sim {

// The file that holds the simulated instrument: $DIAG_SIM_STATE, or
// /tmp/diag-sim-<uid>.state by default.
std::string statePath();

// Maps the state file once per process; creates and initialises it when it is
// missing or was written by a build with another layout. A file that another
// program cuts, grows or overwrites while it is in use is refused, and the
// process ends with one line saying so (never a bus fault).
class SimStore {
public:
  static SimStore& get();
  SimState& state() { return *st; }
  void lock();
  void unlock();

private:
  SimStore();
  void openFile();
  void check();
  int fd = -1;
  pid_t ownerPid = 0;
  SimState* st = nullptr;
  std::recursive_mutex threadMutex;
  int depth = 0;
};

// Holds the instrument for one kernel-level operation: other processes and
// threads wait. A lock on the state file, so that it is released by the
// kernel even when a process dies holding it.
class SimLock {
public:
  SimLock() : store(SimStore::get()) {
    store.lock();
    ++store.state().accesses;
  }
  ~SimLock() { store.unlock(); }
  SimLock(const SimLock&) = delete;
  SimLock& operator=(const SimLock&) = delete;
  SimState& state() { return store.state(); }

private:
  SimStore& store;
};

// Monotonic time shared by all processes, in nanoseconds.
uint64_t nowNs();

}  // namespace sim
