#pragma once
#include <pthread.h>

#include <atomic>
#include <mutex>

#include "sharedSem.h"

// One of the program-wide named semaphores as this process uses it: "diagSem"
// around the use of an I2C device and its path, "diagGPMCSem" around FPGA
// register words. Opened on its first take; taken by one thread at a time, and
// again by that thread without waiting (matched by as many gives, the
// outermost of which posts); given back however the process ends (see
// sharedSem.h for a process killed holding it). The program's entry makes one
// of each for the board; a forked child holds nothing of its parent's.
class ProgramSem {
public:
  explicit ProgramSem(const char* name);
  ~ProgramSem();
  ProgramSem(const ProgramSem&) = delete;
  ProgramSem& operator=(const ProgramSem&) = delete;

  // FAILURE when the semaphore cannot be opened (said in one line) or an
  // interrupt ended the wait (errno EINTR then).
  E_STATUS take(bool reentrant = false);
  void give();
  // Gives it back however deep this thread's takes went: the end of the
  // process. Async-signal-safe.
  void release() { shared.give(); }
  // True when this process holds it.
  bool held() const { return shared.held(); }
  // Successful takes by this process (the reentrant ones included), for counting.
  unsigned long takes() const { return nTakes; }
  const char* name() const { return shared.semName(); }

private:
  friend void forgetInheritedSems();
  SharedSem shared;
  std::mutex openMutex;
  bool opened = false;
  pthread_t owner{};  // the thread of this process that holds it
  int depth = 0;      // takes by the owner not yet matched by a give
  std::atomic<unsigned long> nTakes{0};
};
