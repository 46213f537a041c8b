#include "diagMutex.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>
#include <string>

#include "log.h"
#include "processEnd.h"

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
  pthread_t owner{};  // the thread of this process that holds it
  int depth = 0;  // reentrant takes by the owner
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

void clearHolder(NamedSem& n) {
  pid_t self = getpid();
  if (n.rec) __atomic_compare_exchange_n(&n.rec->holder, &self, 0, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
}

// Posted before the holder record is cleared: a process that dies between the
// two leaves a free semaphore, never a taken one without a holder.
void release(NamedSem& n) {
  n.heldHere = 0;
  n.depth = 0;
  sem_post(n.sem);
  clearHolder(n);
}

void releaseAll() {
  for (NamedSem& n : sems)
    if (n.heldHere) release(n);
}

// Maps the record and ends the lock on it: explicitly, since the mapping
// keeps the descriptor's file, and with it a lock, alive after close().
HolderRec* mapRecord(int fd) {
  if (fd < 0) return nullptr;
  fchmod(fd, 0666);
  void* p = MAP_FAILED;
  if (ftruncate(fd, sizeof(HolderRec)) == 0)
    p = mmap(nullptr, sizeof(HolderRec), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  flock(fd, LOCK_UN);
  close(fd);
  return p == MAP_FAILED ? nullptr : static_cast<HolderRec*>(p);
}

// A semaphore left by a build whose sem_t has another size (a 64-bit and a
// 32-bit build of this program on one development machine) cannot be shared:
// each reads the other's counter wrongly, and a 32-bit process finds it taken
// for ever. Such a one is replaced.
void replaceForeign(const char* name) {
  std::string path = std::string("/dev/shm/sem.") + name;
  struct stat st;
  if (stat(path.c_str(), &st) != 0 || st.st_size == static_cast<off_t>(sizeof(sem_t))) return;
  sem_unlink(name);
  log(LOG_SYS, "replaced semaphore %s, left by a build with another semaphore layout\n", name);
}

E_STATUS openSem(NamedSem& n, sem_t** ppMutex) {
  std::lock_guard<std::mutex> lock(openMutex);
  if (!n.sem) {
    // The holder record's lock keeps two processes from replacing the semaphore at once.
    int recFd = shm_open(n.recName, O_CREAT | O_RDWR, 0666);
    if (recFd >= 0) flock(recFd, LOCK_EX);
    replaceForeign(n.name);
    sem_t* s = sem_open(n.name, O_CREAT, 0666, 1);
    n.rec = mapRecord(recFd);
    if (s == SEM_FAILED) {
      perror("semaphore initilization failed");
      *ppMutex = nullptr;
      return FAILURE;
    }
    n.sem = s;
    static const bool hooked = (atProcessEnd(releaseAll), true);
    (void)hooked;
  }
  *ppMutex = n.sem;
  return SUCCESS;
}

// A process that has ended but was not yet collected by its parent still
// answers kill(): its state in /proc tells.
bool isZombie(pid_t pid) {
  char path[32];
  snprintf(path, sizeof path, "/proc/%d/stat", static_cast<int>(pid));
  FILE* f = fopen(path, "r");
  if (!f) return false;
  char stat[512];
  size_t n = fread(stat, 1, sizeof stat - 1, f);
  fclose(f);
  stat[n] = '\0';
  const char* end = strrchr(stat, ')');  // the command name may hold blanks and parentheses
  return end && end[1] == ' ' && end[2] == 'Z';
}

bool holderGone(pid_t pid) {
  if (pid <= 0 || pid == getpid()) return false;
  if (kill(pid, 0) != 0) return errno == ESRCH;
  return isZombie(pid);
}

void markHeld(NamedSem& n) {
  n.heldHere = 1;
  n.owner = pthread_self();
  n.depth = 1;
  if (n.rec) n.rec->holder = getpid();
}

// Takes the semaphore over from a holder that has ended, if it still is the holder.
bool recover(NamedSem& n, pid_t dead) {
  EndDeferred step;
  // Posted by the holder just before it ended: an ordinary take.
  if (sem_trywait(n.sem) == 0) {
    markHeld(n);
    return true;
  }
  pid_t expected = dead;
  if (!__atomic_compare_exchange_n(&n.rec->holder, &expected, getpid(), false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST))
    return false;
  markHeld(n);
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
    {
      EndDeferred step;
      if (sem_timedwait(n.sem, &deadline) == 0) {
        markHeld(n);
        return SUCCESS;
      }
    }
    if (errno != ETIMEDOUT && errno != EINTR) return FAILURE;
    waitedMs += WAIT_SLICE_MS;
    pid_t holder = n.rec ? n.rec->holder : 0;
    if (holderGone(holder) && recover(n, holder)) return SUCCESS;
    if (!reported && waitedMs >= REPORT_AFTER_MS) {
      reported = true;
      if (holder > 0)
        log(LOG_TERM, "waiting for semaphore %s, held by process %d\n", n.name, static_cast<int>(holder));
      else
        log(LOG_TERM, "waiting for semaphore %s, which has no recorded holder\n", n.name);
    }
  }
}
}  // namespace

E_STATUS getGPMCMutx(sem_t** ppMutex) { return openSem(sems[0], ppMutex); }
E_STATUS getMutx(sem_t** ppMutex) { return openSem(sems[1], ppMutex); }

E_STATUS semTake(sem_t* pMutex, bool reentrant) {
  NamedSem* n = find(pMutex);
  if (!n) return sem_wait(pMutex) == 0 ? SUCCESS : FAILURE;
  if (reentrant && n->heldHere && pthread_equal(n->owner, pthread_self())) {
    ++n->depth;
    return SUCCESS;
  }
  {
    EndDeferred step;
    if (sem_trywait(pMutex) == 0) {
      markHeld(*n);
      return SUCCESS;
    }
  }
  return waitSlow(*n);
}

void semGive(sem_t* pMutex) {
  NamedSem* n = find(pMutex);
  if (!n) {
    sem_post(pMutex);
    return;
  }
  EndDeferred step;
  if (!n->heldHere) return;
  if (--n->depth > 0) return;  // an inner reentrant take: the outer one still holds it
  release(*n);
}

bool semHeldHere(sem_t* pMutex) {
  NamedSem* n = find(pMutex);
  return n && n->heldHere;
}
