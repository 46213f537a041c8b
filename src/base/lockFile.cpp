#include "lockFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "log.h"
#include "pollPause.h"
#include "processEnd.h"

namespace {
constexpr char SHM_DIR[] = "/dev/shm/";
constexpr int OPEN_FLAGS = O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
// A file that another program keeps replacing is given up after this many rounds.
constexpr int MAX_REOPENS = 100;
const char* const REMOVE = "it is not a lock file of diag: remove it (as its owner or as root) and run diag again";
const char* const NOT_REGULAR = "is not a regular file (a FIFO, a socket or a device)";

// One line, on the terminal and in the system log (the administrator of a
// shared instrument reads the log).
bool refuse(const char* path, const char* what, const char* todo) {
  LOGERR(LOG_TERM | LOG_SYS, "lock file %s %s; %s\n", path, what, todo);
  return false;
}

bool refuseOpen(const char* path, int err) {
  if (err == ELOOP) return refuse(path, "is a symbolic link", REMOVE);
  if (err == EISDIR) return refuse(path, "is a directory", REMOVE);
  if (err == EROFS) return refuse(path, "is on a read-only file system", "diag needs it mounted read-write");
  if (err == EACCES || err == EPERM)
    return refuse(path, "cannot be written by this user",
                  "every user must be able to: its owner or root can run chmod 666 on it, or remove it");
  if (err == ENXIO) return refuse(path, NOT_REGULAR, REMOVE);  // a socket, or a device without its driver: neither opens
  std::string why = std::string("cannot be opened (") + strerror(err) + ")";
  return refuse(path, why.c_str(), REMOVE);
}

// Sized for the record before anyone can open it.
int makeFile(const std::string& path) {
  std::string made = madeName(path);
  unlink(made.c_str());  // left by a process of the same id that was killed here
  int m = ::open(made.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, EVERY_USER);
  if (m < 0) return m;
  bool sized = ftruncate(m, sizeof(SemRecord)) == 0;
  close(m);
  if (!sized || !publishFile(made, path, false)) {
    int err = errno;
    unlink(made.c_str());
    errno = err;
    return -1;
  }
  return ::open(path.c_str(), OPEN_FLAGS);
}

bool whole(const SemRecord& r) {
  return r.phase >= SEM_FREE && r.phase <= SEM_GIVING && r.pid >= 0 && (r.phase == SEM_FREE || r.pid > 0);
}

// The command name of a process, "" when it cannot be read.
std::string commandOf(pid_t pid) {
  char path[32], name[64] = "";
  snprintf(path, sizeof path, "/proc/%d/comm", static_cast<int>(pid));
  FILE* f = fopen(path, "re");
  if (!f) return "";
  if (!fgets(name, sizeof name, f)) name[0] = '\0';
  fclose(f);
  name[strcspn(name, "\n")] = '\0';
  return name;
}
}  // namespace

std::string madeName(const std::string& name) { return name + ".new" + std::to_string(getpid()); }

bool publishFile(const std::string& made, const std::string& path, bool replace) {
  int err = 0;
  if (chmod(made.c_str(), EVERY_USER) != 0) err = errno;
  else if ((replace ? rename(made.c_str(), path.c_str()) : link(made.c_str(), path.c_str())) != 0 && errno != EEXIST)
    err = errno;
  unlink(made.c_str());
  errno = err;
  return err == 0;
}

pid_t flockHolder(int fd) {
  struct stat st;
  FILE* f = fstat(fd, &st) == 0 ? fopen("/proc/locks", "re") : nullptr;
  if (!f) return 0;
  // "1: FLOCK  ADVISORY  WRITE 4711 00:1a:1234 0 EOF"; a waiter's line has "->" after the number.
  char line[256], kind[16];
  long pid = 0;
  unsigned maj, min;
  unsigned long ino;
  bool found = false;
  while (!found && fgets(line, sizeof line, f))
    found = !strstr(line, "->") &&
            sscanf(line, "%*d: %15s %*s %*s %ld %x:%x:%lu", kind, &pid, &maj, &min, &ino) == 5 &&
            !strcmp(kind, "FLOCK") && maj == major(st.st_dev) && min == minor(st.st_dev) && ino == st.st_ino;
  fclose(f);
  return found && pid > 0 ? static_cast<pid_t>(pid) : 0;
}

bool LockFile::open(const char* semName) {
  snprintf(lockPath, sizeof lockPath, "%s%s.lock", SHM_DIR, semName);
  int f = ::open(lockPath, OPEN_FLAGS);
  if (f < 0 && errno == ENOENT) f = makeFile(lockPath);
  if (f < 0) return refuseOpen(lockPath, errno);
  struct stat st;
  if (fstat(f, &st) != 0 || !S_ISREG(st.st_mode)) {
    ::close(f);
    return refuse(lockPath, NOT_REGULAR, REMOVE);
  }
  // Opened again to every user, where this user may (an owner whose program closed it).
  if ((st.st_mode & EVERY_USER) != EVERY_USER && st.st_uid == geteuid()) fchmod(f, EVERY_USER);
  fd = f;
  return true;
}

E_STATUS LockFile::lock(const char* semName, SemRecord* found) {
  for (int round = 0; round < MAX_REOPENS; ++round) {
    if (fd < 0 && !open(semName)) return FAILURE;
    E_STATUS st = waitFlock(semName);
    if (st != SUCCESS) return st;
    struct stat opened;
    if (stillAtPath(&opened)) {
      SemRecord r = repaired(semName, opened);
      if (found) *found = r;
      return SUCCESS;
    }
    // Replaced or removed meanwhile: the file now at the path is the one the other processes lock.
    unlock();
    ::close(fd);
    fd = -1;
  }
  refuse(lockPath, "keeps being replaced by another program", "find that program and stop it");
  return FAILURE;
}

// Polled rather than blocking, so that a long wait can be reported and an interrupt can end it.
E_STATUS LockFile::waitFlock(const char* semName) const {
  PollPause pause;
  while (flock(fd, LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK && errno != EINTR) {
      int err = errno;
      LOGERR(LOG_TERM, "failed to lock %s\n", lockPath);
      logErrno(LOG_TERM, err);
      return FAILURE;
    }
    if (interrupted()) {
      errno = EINTR;
      return FAILURE;
    }
    if (pause.sleep()) reportHolder(semName);
  }
  return SUCCESS;
}

void LockFile::unlock() const { flock(fd, LOCK_UN); }

bool LockFile::stillAtPath(struct stat* opened) const {
  struct stat named;
  return fstat(fd, opened) == 0 && lstat(lockPath, &named) == 0 && opened->st_dev == named.st_dev &&
         opened->st_ino == named.st_ino;
}

// Under the flock no process of ours is half-way through the record, so one
// that is not whole was changed by another program; what it said is lost, and
// "free" is the one safe reading: the semaphore's own value still tells
// whether it is held.
SemRecord LockFile::repaired(const char* semName, const struct stat& opened) const {
  SemRecord r = record();
  if (opened.st_size == static_cast<off_t>(sizeof(SemRecord)) && whole(r)) return r;
  r = {SEM_FREE, 0};
  if (ftruncate(fd, sizeof(SemRecord)) != 0) return r;
  note(SEM_FREE, 0);
  log(LOG_TERM | LOG_SYS,
      "repaired lock file %s of semaphore %s, which another program had cut, grown or overwritten\n", lockPath,
      semName);
  return r;
}

SemRecord LockFile::record() const {
  SemRecord r = {-1, -1};
  if (pread(fd, &r, sizeof r, 0) != static_cast<ssize_t>(sizeof r)) return {-1, -1};
  return r;
}

void LockFile::note(E_SEM_PHASE phase, int32_t pid) const {
  const SemRecord r = {phase, pid};
  ssize_t n = pwrite(fd, &r, sizeof r, 0);
  (void)n;  // a file another program made unwritable is repaired or refused at the next lock
}

void LockFile::reopen() {
  if (fd < 0) return;
  ::close(fd);  // not LOCK_UN: that would end the parent's lock
  fd = ::open(lockPath, OPEN_FLAGS);
}

// Named from the kernel's table of locks, not from the record: anyone who can
// open the file can hold its flock, and the record names only the last
// process of ours.
void LockFile::reportHolder(const char* semName) const {
  pid_t pid = flockHolder(fd);
  if (pid <= 0) {
    log(LOG_TERM, "waiting for semaphore %s: its lock file %s is held by a process that cannot be named here\n",
        semName, lockPath);
    return;
  }
  std::string name = commandOf(pid);
  log(LOG_TERM, "waiting for semaphore %s: process %d%s%s%s holds its lock file %s\n", semName, static_cast<int>(pid),
      name.empty() ? "" : " (", name.c_str(), name.empty() ? "" : ")", lockPath);
}
