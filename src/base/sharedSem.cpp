#include "sharedSem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "log.h"
#include "pollPause.h"
#include "processEnd.h"

namespace {
constexpr char SHM_DIR[] = "/dev/shm/";

// Where sem_open keeps a named semaphore.
std::string semPath(const std::string& name) { return SHM_DIR + ("sem." + name); }

// A semaphore of this build's layout at value 1, put in place.
bool makeSem(const char* name, bool replace) {
  std::string made = madeName(name);
  sem_unlink(made.c_str());
  sem_t* s = sem_open(made.c_str(), O_CREAT | O_EXCL, EVERY_USER, 1);
  if (s == SEM_FAILED) return false;
  sem_close(s);
  return publishFile(semPath(made), semPath(name), replace);
}
}  // namespace

sem_t* SharedSem::open() {
  if (!gateReady) {
    sem_init(&gate, 0, 1);
    gateReady = true;
  }
  pid = getpid();
  if (lockFile.lock(name) != SUCCESS) return nullptr;
  sem_t* s = openSemLocked();
  lockFile.unlock();
  return s;
}

// A semaphore left by a build whose sem_t has another size (a 64-bit and a
// 32-bit build of this program on one development machine) cannot be shared:
// each reads the other's counter wrongly. Such a one is replaced.
// What is at the semaphore's path and is not a regular file (a link, a
// directory) is refused like such a lock file.
sem_t* SharedSem::openSemLocked() {
  EndDeferred step;  // an interrupt leaves no semaphore half made
  struct stat st;
  const std::string path = semPath(name);
  bool there = lstat(path.c_str(), &st) == 0;
  if (there && !S_ISREG(st.st_mode)) {
    LOGERR(LOG_TERM | LOG_SYS,
           "semaphore file %s is not a regular file; remove it (as its owner or as root) and run diag again\n",
           path.c_str());
    return nullptr;
  }
  if (!there || st.st_size != static_cast<off_t>(sizeof(sem_t))) {
    if (there) log(LOG_SYS, "replaced semaphore %s, left by a build with another semaphore layout\n", name);
    makeSem(name, there);
  }
  sem_t* s = sem_open(name, 0);
  if (s == SEM_FAILED) {
    int err = errno;
    LOGERR(LOG_TERM, "semaphore %s (%s) cannot be opened\n", name, path.c_str());
    logErrno(LOG_TERM, err);
    return nullptr;
  }
  sem = s;
  return sem;
}

// Blocking, as a mutex between threads is: a thread waits here only while
// another thread of this process holds the semaphore, and that one gives it
// back or the process ends.
E_STATUS SharedSem::enterGate() {
  while (sem_wait(&gate) != 0) {
    if (errno == EINTR) continue;
    int err = errno;
    LOGERR(LOG_TERM, "failed to take semaphore %s\n", name);
    logErrno(LOG_TERM, err);
    return FAILURE;
  }
  return SUCCESS;
}

// Out of the lock and the gate, for a take that did not complete.
void SharedSem::leave() {
  lockFile.unlock();
  sem_post(&gate);
}

E_STATUS SharedSem::take() {
  if (!sem || enterGate() != SUCCESS) return FAILURE;
  SemRecord rec;
  if (lockFile.lock(name, &rec) != SUCCESS) {
    sem_post(&gate);
    return FAILURE;
  }
  if (adoptFromDead(rec)) return SUCCESS;
  PollPause pause;
  for (;;) {
    int err = tryTake();
    if (err == 0) return SUCCESS;
    if (err != EAGAIN && err != EINTR) {
      LOGERR(LOG_TERM, "failed to take semaphore %s\n", name);
      logErrno(LOG_TERM, err);
      leave();
      return FAILURE;
    }
    if (interrupted()) {
      leave();
      errno = EINTR;
      return FAILURE;
    }
    // Under our lock no process of ours holds it: a program that does not use the lock file does.
    if (pause.sleep())
      log(LOG_TERM, "waiting for semaphore %s, held by a program that does not use its lock file: holder unknown\n",
          name);
  }
}

// Under the lock, a record not back to free was left by a process of ours
// that died between a take and the end of its give; the semaphore at 0 says
// that it held it then.
bool SharedSem::adoptFromDead(const SemRecord& r) {
  EndDeferred step;
  int value = 1;
  if (r.phase == SEM_FREE || sem_getvalue(sem, &value) != 0 || value > 0) return false;
  int32_t dead = r.pid;
  lockFile.note(SEM_HELD, pid);
  isHeld = true;
  log(LOG_TERM | LOG_SYS, "recovered semaphore %s from process %d, which ended while holding it\n", name,
      static_cast<int>(dead));
  return true;
}

// One attempt, 0 or the error. "taking" stays in the record while the
// semaphore is held: with the value it tells all that the next process needs,
// and each note is a system call on every FPGA word. Killed at any instruction
// of it or of the hold, the process leaves "taking" with the semaphore
// untouched (value 1: an ordinary take follows) or taken (value 0: adopted),
// or "free".
int SharedSem::tryTake() {
  EndDeferred step;
  lockFile.note(SEM_TAKING, pid);
  int err = sem_trywait(sem) == 0 ? 0 : errno;
  if (err) lockFile.note(SEM_FREE, pid);
  isHeld = err == 0;
  return err;
}

// Killed at any instruction, the process leaves its record (taking, or held
// when it adopted) with the semaphore at 0 (adopted) or posted (an ordinary
// take follows), or "free".
void SharedSem::give() {
  EndDeferred step;
  if (!isHeld.exchange(false)) return;
  sem_post(sem);
  lockFile.note(SEM_FREE, pid);
  lockFile.unlock();
  sem_post(&gate);
}

void SharedSem::forgetInherited() {
  isHeld = false;
  pid = getpid();
  if (gateReady) sem_init(&gate, 0, 1);  // a thread that held it is the parent's
  lockFile.reopen();
}
