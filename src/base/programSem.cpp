#include "programSem.h"

#include <atomic>
#include <cerrno>

#include "kernel.h"
#include "processEnd.h"

namespace {
// The live semaphores, for the end of the process and for a forked child:
// a fixed table, read from a signal handler.
constexpr int MAX_SEMS = 8;
std::atomic<ProgramSem*> live[MAX_SEMS];

void releaseAll() {
  for (auto& s : live)
    if (ProgramSem* p = s.load()) p->release();
}
}  // namespace

// A forked child holds nothing of its parent's, and locks on its own.
void forgetInheritedSems() {
  for (auto& s : live)
    if (ProgramSem* p = s.load()) {
      p->depth = 0;
      p->shared.forgetInherited();
    }
}

ProgramSem::ProgramSem(const char* name) : shared(name) {
  for (auto& s : live) {
    ProgramSem* none = nullptr;
    if (s.compare_exchange_strong(none, this)) break;
  }
}

ProgramSem::~ProgramSem() {
  release();
  for (auto& s : live) {
    ProgramSem* me = this;
    s.compare_exchange_strong(me, nullptr);
  }
}

E_STATUS ProgramSem::take(bool reentrant) {
  {
    std::lock_guard<std::mutex> lock(openMutex);
    // The process-end and fork hooks are set before the first take, not at start: a run that never takes a
    // semaphore (version, help) spends no system calls on signal handlers it does not need.
    static const bool hooked = (atProcessEnd(releaseAll), pthread_atfork(nullptr, nullptr, forgetInheritedSems), true);
    (void)hooked;
    if (!opened && !shared.open()) return FAILURE;
    opened = true;
  }
  if (reentrant && shared.held() && pthread_equal(owner, pthread_self())) {
    ++depth;
    ++nTakes;
    return SUCCESS;
  }
  E_STATUS st = shared.take();
  int err = errno;
  kernel().lockNote(true, shared.semName(), st == SUCCESS ? 0 : err ? err : EIO);
  errno = err;
  if (st != SUCCESS) return FAILURE;
  ++nTakes;
  owner = pthread_self();
  depth = 1;
  return SUCCESS;
}

void ProgramSem::give() {
  if (!shared.held()) return;
  if (--depth > 0) return;  // an inner reentrant take: the outer one still holds it
  shared.give();
  kernel().lockNote(false, shared.semName(), 0);
}
