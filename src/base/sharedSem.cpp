#include "sharedSem.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <string>

#include "log.h"
#include "pollPause.h"
#include "processEnd.h"

// How far the holder of the lock got. Fixed-width fields: the 32-bit and the
// 64-bit build on one machine share the file.
enum E_SEM_PHASE : int32_t { SEM_FREE = 0, SEM_TAKING = 1, SEM_HELD = 2, SEM_GIVING = 3 };
struct SemRecord {
  int32_t phase;
  int32_t pid;
};

namespace {
constexpr char SHM_DIR[] = "/dev/shm/";

int32_t load(const int32_t& field) { return __atomic_load_n(&field, __ATOMIC_SEQ_CST); }
void store(int32_t& field, int32_t v) { __atomic_store_n(&field, v, __ATOMIC_SEQ_CST); }

// Where sem_open keeps a named semaphore.
std::string semPath(const std::string& name) { return SHM_DIR + ("sem." + name); }

std::string madeName(const std::string& name) { return name + ".new" + std::to_string(getpid()); }

// Puts a file, made whole under a name of its own, in its place with mode 0666
// whatever the umask, so that no process ever sees it half made or closed to
// another user. replace: over the file there; else one that another process put
// there meanwhile is kept.
bool publish(const std::string& made, const std::string& path, bool replace) {
  int err = 0;
  if (chmod(made.c_str(), 0666) != 0) err = errno;
  else if ((replace ? rename(made.c_str(), path.c_str()) : link(made.c_str(), path.c_str())) != 0 && errno != EEXIST)
    err = errno;
  unlink(made.c_str());
  errno = err;
  return err == 0;
}

int openOrMakeFile(const std::string& path) {
  int fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
  if (fd >= 0 || errno != ENOENT) return fd;
  std::string made = madeName(path);
  unlink(made.c_str());  // left by a process of the same id that was killed here
  int m = ::open(made.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (m < 0) return -1;
  bool sized = ftruncate(m, sizeof(SemRecord)) == 0;
  close(m);
  if (!sized || !publish(made, path, false)) {
    unlink(made.c_str());
    return -1;
  }
  return ::open(path.c_str(), O_RDWR | O_CLOEXEC);
}

// A semaphore of this build's layout at value 1, put in place.
bool makeSem(const char* name, bool replace) {
  std::string made = madeName(name);
  sem_unlink(made.c_str());
  sem_t* s = sem_open(made.c_str(), O_CREAT | O_EXCL, 0666, 1);
  if (s == SEM_FAILED) return false;
  sem_close(s);
  return publish(semPath(made), semPath(name), replace);
}
}  // namespace

sem_t* SharedSem::open() {
  if (!gateReady) {
    sem_init(&gate, 0, 1);
    gateReady = true;
  }
  if (!openLockFile()) {
    perror("semaphore initilization failed");
    return nullptr;
  }
  if (lock() != SUCCESS) return nullptr;
  sem_t* s = openSemLocked();
  unlock();
  if (!s) perror("semaphore initilization failed");
  return s;
}

// The record is mapped through an open file of its own: a mapping keeps its
// file open, and with it any lock on it, for as long as the mapping lives.
bool SharedSem::openLockFile() {
  snprintf(lockPath, sizeof lockPath, "%s%s.lock", SHM_DIR, name);
  if (!rec) {
    int mapFd = openOrMakeFile(lockPath);
    if (mapFd < 0) return false;
    void* p = mmap(nullptr, sizeof(SemRecord), PROT_READ | PROT_WRITE, MAP_SHARED, mapFd, 0);
    close(mapFd);
    if (p == MAP_FAILED) return false;
    rec = static_cast<SemRecord*>(p);
  }
  if (lockFd < 0) lockFd = ::open(lockPath, O_RDONLY | O_CLOEXEC);
  return lockFd >= 0;
}

// A semaphore left by a build whose sem_t has another size (a 64-bit and a
// 32-bit build of this program on one development machine) cannot be shared:
// each reads the other's counter wrongly. Such a one is replaced.
sem_t* SharedSem::openSemLocked() {
  EndDeferred step;  // an interrupt leaves no semaphore half made
  struct stat st;
  bool there = stat(semPath(name).c_str(), &st) == 0;
  if (!there || st.st_size != static_cast<off_t>(sizeof(sem_t))) {
    if (there) log(LOG_SYS, "replaced semaphore %s, left by a build with another semaphore layout\n", name);
    makeSem(name, there);
  }
  sem_t* s = sem_open(name, 0);
  sem = s == SEM_FAILED ? nullptr : s;
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

// Polled rather than blocking, so that a long wait can be reported.
E_STATUS SharedSem::lock() {
  PollPause pause;
  while (flock(lockFd, LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK && errno != EINTR) {
      int err = errno;
      LOGERR(LOG_TERM, "failed to lock %s\n", lockPath);
      logErrno(LOG_TERM, err);
      return FAILURE;
    }
    if (pause.sleep()) reportWait(true);
  }
  return SUCCESS;
}

void SharedSem::unlock() { flock(lockFd, LOCK_UN); }

E_STATUS SharedSem::take() {
  if (!sem || !rec || enterGate() != SUCCESS) return FAILURE;
  if (lock() != SUCCESS) {
    sem_post(&gate);
    return FAILURE;
  }
  if (adoptFromDead()) return SUCCESS;
  PollPause pause;
  for (;;) {
    int err = tryTake();
    if (err == 0) return SUCCESS;
    if (err != EAGAIN && err != EINTR) {
      LOGERR(LOG_TERM, "failed to take semaphore %s\n", name);
      logErrno(LOG_TERM, err);
      unlock();
      sem_post(&gate);
      return FAILURE;
    }
    if (pause.sleep()) reportWait(false);  // a program that does not use the lock file holds it
  }
}

// Under the lock, a record not back to free was left by a process of ours
// that died half-way through a take or a give; the semaphore at 0 says that it
// held it then.
bool SharedSem::adoptFromDead() {
  EndDeferred step;
  int value = 1;
  if (load(rec->phase) == SEM_FREE || sem_getvalue(sem, &value) != 0 || value > 0) return false;
  int32_t dead = load(rec->pid);
  store(rec->pid, getpid());
  store(rec->phase, SEM_HELD);
  isHeld = true;
  log(LOG_TERM | LOG_SYS, "recovered semaphore %s from process %d, which ended while holding it\n", name,
      static_cast<int>(dead));
  return true;
}

// One attempt, 0 or the error. Killed at any instruction of it, the process
// leaves "taking" with the semaphore untouched (value 1: an ordinary take
// follows) or taken (value 0: adopted), or "held", or "free".
int SharedSem::tryTake() {
  EndDeferred step;
  store(rec->pid, getpid());
  store(rec->phase, SEM_TAKING);
  int err = sem_trywait(sem) == 0 ? 0 : errno;
  store(rec->phase, err ? SEM_FREE : SEM_HELD);
  isHeld = err == 0;
  return err;
}

// Killed at any instruction, the process leaves "held" or "giving" with the
// semaphore at 0 (adopted), "giving" with it posted (an ordinary take
// follows), or "free".
void SharedSem::give() {
  EndDeferred step;
  if (!isHeld.exchange(false)) return;
  store(rec->phase, SEM_GIVING);
  sem_post(sem);
  store(rec->phase, SEM_FREE);
  unlock();
  sem_post(&gate);
}

void SharedSem::forgetInherited() {
  isHeld = false;
  if (gateReady) sem_init(&gate, 0, 1);  // a thread that held it is the parent's
  if (lockFd < 0) return;
  close(lockFd);  // not LOCK_UN: that would end the parent's lock
  lockFd = ::open(lockPath, O_RDONLY | O_CLOEXEC);
}

// lockBusy: another process of ours is inside a take, a hold or a give; else
// the semaphore is held by a program that does not use the lock file.
void SharedSem::reportWait(bool lockBusy) const {
  if (!lockBusy)
    log(LOG_TERM, "waiting for semaphore %s, which has no recorded holder\n", name);
  else
    log(LOG_TERM, "waiting for semaphore %s, held by process %d\n", name, static_cast<int>(load(rec->pid)));
}
