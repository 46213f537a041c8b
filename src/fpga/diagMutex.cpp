#include "diagMutex.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <mutex>

#include "log.h"

namespace {
// Shared record beside each semaphore: the process that holds it (0: none known).
struct HolderRec {
  volatile pid_t holder;
};

struct NamedSem {
  const char* name;
  const char* recName;
  sem_t* sem = nullptr;
  HolderRec* rec = nullptr;
  volatile sig_atomic_t heldHere = 0;
};

NamedSem sems[] = {{"diagGPMCSem", "/diagGPMCSem.holder"}, {"diagSem", "/diagSem.holder"}};
std::mutex openMutex;
constexpr int WAIT_SLICE_MS = 200;
constexpr int REPORT_AFTER_MS = 5000;

NamedSem* find(sem_t* s) {
  for (NamedSem& n : sems)
    if (n.sem == s) return &n;
  return nullptr;
}

void releaseAll() {
  for (NamedSem& n : sems) {
    if (!n.heldHere) continue;
    n.heldHere = 0;
    if (n.rec) n.rec->holder = 0;
    sem_post(n.sem);
  }
}

void onFatalSignal(int sig) {
  releaseAll();
  signal(sig, SIG_DFL);
  raise(sig);
}

void installReleaseOnExit() {
  static bool installed = false;
  if (installed) return;
  installed = true;
  atexit(releaseAll);
  for (int sig : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGPIPE}) {
    struct sigaction old;
    sigaction(sig, nullptr, &old);
    // Leave alone what the process chose to ignore or handle itself.
    if (old.sa_handler == SIG_DFL) signal(sig, onFatalSignal);
  }
}

HolderRec* openRecord(const char* recName) {
  int fd = shm_open(recName, O_CREAT | O_RDWR, 0666);
  if (fd < 0) return nullptr;
  fchmod(fd, 0666);
  if (ftruncate(fd, sizeof(HolderRec)) != 0) {
    close(fd);
    return nullptr;
  }
  void* p = mmap(nullptr, sizeof(HolderRec), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  close(fd);
  return p == MAP_FAILED ? nullptr : static_cast<HolderRec*>(p);
}

E_STATUS openSem(NamedSem& n, sem_t** ppMutex) {
  std::lock_guard<std::mutex> lock(openMutex);
  if (!n.sem) {
    sem_t* s = sem_open(n.name, O_CREAT, 0666, 1);
    if (s == SEM_FAILED) {
      perror("semaphore initilization failed");
      *ppMutex = nullptr;
      return FAILURE;
    }
    n.rec = openRecord(n.recName);
    n.sem = s;
    installReleaseOnExit();
  }
  *ppMutex = n.sem;
  return SUCCESS;
}

bool holderGone(pid_t pid) { return pid > 0 && pid != getpid() && kill(pid, 0) != 0 && errno == ESRCH; }

void markHeld(NamedSem& n) {
  n.heldHere = 1;
  if (n.rec) n.rec->holder = getpid();
}

// Takes the semaphore over from a holder that has ended, if it still is the holder.
bool recover(NamedSem& n, pid_t dead) {
  pid_t expected = dead;
  if (!__atomic_compare_exchange_n(&n.rec->holder, &expected, getpid(), false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST))
    return false;
  n.heldHere = 1;
  log(LOG_TERM | LOG_SYS, "recovered semaphore %s from process %d, which ended while holding it\n", n.name,
      static_cast<int>(dead));
  return true;
}

E_STATUS waitSlow(NamedSem& n) {
  int waitedMs = 0;
  bool reported = false;
  for (;;) {
    struct timespec deadline;
    clock_gettime(CLOCK_REALTIME, &deadline);
    deadline.tv_nsec += WAIT_SLICE_MS * 1000000L;
    deadline.tv_sec += deadline.tv_nsec / 1000000000L;
    deadline.tv_nsec %= 1000000000L;
    if (sem_timedwait(n.sem, &deadline) == 0) {
      markHeld(n);
      return SUCCESS;
    }
    if (errno != ETIMEDOUT && errno != EINTR) return FAILURE;
    waitedMs += WAIT_SLICE_MS;
    pid_t holder = n.rec ? n.rec->holder : 0;
    if (holderGone(holder) && recover(n, holder)) return SUCCESS;
    if (!reported && waitedMs >= REPORT_AFTER_MS) {
      reported = true;
      log(LOG_TERM, "waiting for semaphore %s, held by process %d\n", n.name, static_cast<int>(holder));
    }
  }
}
}  // namespace

E_STATUS getGPMCMutx(sem_t** ppMutex) { return openSem(sems[0], ppMutex); }
E_STATUS getMutx(sem_t** ppMutex) { return openSem(sems[1], ppMutex); }

E_STATUS semTake(sem_t* pMutex, bool reentrant) {
  NamedSem* n = find(pMutex);
  if (!n) return sem_wait(pMutex) == 0 ? SUCCESS : FAILURE;
  if (n->heldHere && reentrant) return SUCCESS;
  if (sem_trywait(pMutex) == 0) {
    markHeld(*n);
    return SUCCESS;
  }
  return waitSlow(*n);
}

void semGive(sem_t* pMutex) {
  NamedSem* n = find(pMutex);
  if (n) {
    if (!n->heldHere) return;
    n->heldHere = 0;
    if (n->rec) n->rec->holder = 0;
  }
  sem_post(pMutex);
}

bool semHeldHere(sem_t* pMutex) {
  NamedSem* n = find(pMutex);
  return n && n->heldHere;
}
