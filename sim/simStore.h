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

// Keeps this process's instrument in its own memory instead of the state file:
// the same models in a fresh power-on state that no other process sees, held
// by a plain mutex, with no file, no file lock and no checks of the file. For
// tests and fuzz targets, which want a fresh instrument cheaply and often.
// Call before the first access; false, and the file stays in use, after it.
bool useMemoryState();

// Where the instrument lives, as `diag-simctl show` names it: the state
// file's path, or "memory".
std::string stateWhere();

// Maps the state file once per process, or makes the in-memory instrument
// (useMemoryState); creates and initialises the file when it is missing or was
// written by a build with another layout. A file that another
// program cuts, grows or overwrites while it is in use is refused, and the
// process ends with one line saying so (never a bus fault).
class SimStore {
public:
  static SimStore& get();
  SimState& state() { return *st; }
  bool inMemory() const { return fd < 0; }
  void lock();
  void unlock();

private:
  SimStore();
  void mapFile();
  void openFile();
  void check();
  int fd = -1;  // the state file; -1 for the in-memory instrument
  pid_t ownerPid = 0;
  SimState* st = nullptr;
  std::recursive_mutex threadMutex;
  int depth = 0;
};

// Holds the instrument for one kernel-level operation: other processes and
// threads wait. A lock on the state file, so that it is released by the
// kernel even when a process dies holding it; for the in-memory instrument,
// which no other process sees, the mutex of its threads alone.
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

// Monotonic time shared by all processes, in nanoseconds; the models' clock.
uint64_t nowNs();

// The in-memory instrument's clock moves on by ns at once, as if that time had
// passed: a pause of the program costs no real time, and the parts change at
// the same point of the program's poll loops as they would after a real
// pause. False, and nothing changes, for the state file, whose clock every
// process shares.
bool skipTime(uint64_t ns);

}  // namespace sim
