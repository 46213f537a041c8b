#include "diagMutex.h"

#include <pthread.h>

#include <cerrno>
#include <mutex>

#include "kernel.h"
#include "processEnd.h"
#include "sharedSem.h"

namespace {
struct NamedSem {
  SharedSem shared;
  sem_t* sem = nullptr;
  pthread_t owner{};  // the thread of this process that holds it
  int depth = 0;  // takes by the owner not yet matched by a give
};

NamedSem sems[] = {{SharedSem("diagGPMCSem")}, {SharedSem("diagSem")}};
std::mutex openMutex;

NamedSem* find(sem_t* s) {
  for (NamedSem& n : sems)
    if (s && n.sem == s) return &n;
  return nullptr;
}

// Whatever the process holds when it ends is given back on the way out.
void releaseAll() {
  for (NamedSem& n : sems) n.shared.give();
}

// A forked child holds nothing of its parent's, and locks on its own.
void forgetInherited() {
  for (NamedSem& n : sems) {
    n.depth = 0;
    n.shared.forgetInherited();
  }
}

E_STATUS openSem(NamedSem& n, sem_t** ppMutex) {
  std::lock_guard<std::mutex> lock(openMutex);
  if (!n.sem) {
    n.sem = n.shared.open();
    if (!n.sem) {
      *ppMutex = nullptr;
      return FAILURE;
    }
    static const bool hooked = (atProcessEnd(releaseAll), pthread_atfork(nullptr, nullptr, forgetInherited), true);
    (void)hooked;
  }
  *ppMutex = n.sem;
  return SUCCESS;
}
}  // namespace

E_STATUS getGPMCMutx(sem_t** ppMutex) { return openSem(sems[0], ppMutex); }
E_STATUS getMutx(sem_t** ppMutex) { return openSem(sems[1], ppMutex); }

E_STATUS semTake(sem_t* pMutex, bool reentrant) {
  NamedSem* n = find(pMutex);
  if (!n) return sem_wait(pMutex) == 0 ? SUCCESS : FAILURE;
  if (reentrant && n->shared.held() && pthread_equal(n->owner, pthread_self())) {
    ++n->depth;
    return SUCCESS;
  }
  E_STATUS st = n->shared.take();
  int err = errno;
  kernel().lockNote(true, n->shared.semName(), st == SUCCESS ? 0 : err ? err : EIO);
  errno = err;
  if (st != SUCCESS) return FAILURE;
  n->owner = pthread_self();
  n->depth = 1;
  return SUCCESS;
}

void semGive(sem_t* pMutex) {
  NamedSem* n = find(pMutex);
  if (!n) {
    sem_post(pMutex);
    return;
  }
  if (!n->shared.held()) return;
  if (--n->depth > 0) return;  // an inner reentrant take: the outer one still holds it
  n->shared.give();
  kernel().lockNote(false, n->shared.semName(), 0);
}

bool semHeldHere(sem_t* pMutex) {
  NamedSem* n = find(pMutex);
  return n && n->shared.held();
}
