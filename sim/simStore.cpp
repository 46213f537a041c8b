#include "simStore.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "simTrace.h"

namespace sim {

std::string statePath() {
  const char* env = getenv("DIAG_SIM_STATE");
  if (env && *env) return env;
  return "/tmp/diag-sim-" + std::to_string(getuid()) + ".state";
}

namespace {
bool memoryChosen = false;
bool storeMade = false;
std::atomic<uint64_t> skippedNs{0};

const char* const ELSEWHERE = "remove it, or name another file with DIAG_SIM_STATE";
const char* const AFRESH = "diag-simctl reset starts it afresh";

[[noreturn]] void fatal(const std::string& what) {
  fprintf(stderr, "diag-sim: %s: %s (%s)\n", what.c_str(), statePath().c_str(), strerror(errno));
  exit(1);
}

// One line, and the process ends (normally, so that what it holds is given back).
[[noreturn]] void refuse(const std::string& what, const char* todo) {
  fprintf(stderr, "diag-sim: the simulator state %s %s; %s\n", statePath().c_str(), what.c_str(), todo);
  exit(1);
}

bool valid(const SimState& s) { return s.magic == SIM_MAGIC && s.layout == SIM_LAYOUT && s.size == sizeof(SimState); }

// The state file is another program's to cut short at any time (the same
// user's, or any user's where it is shared). A touch of the mapping beyond the
// file's new end is a bus fault: the handler puts the length back (the lost
// part reads as zeros), the access completes, and the state is refused when
// the access ends. Faults elsewhere go where they went before.
volatile sig_atomic_t guardFd = -1;
volatile sig_atomic_t cutUnderUs = 0;
char* mapStart = nullptr;
struct sigaction before;

void onBusFault(int sig, siginfo_t* info, void* ctx) {
  char* at = static_cast<char*>(info->si_addr);
  if (guardFd >= 0 && at >= mapStart && at < mapStart + sizeof(SimState) && ftruncate(guardFd, sizeof(SimState)) == 0) {
    cutUnderUs = 1;
    return;
  }
  if (before.sa_flags & SA_SIGINFO) {
    before.sa_sigaction(sig, info, ctx);
  } else if (before.sa_handler != SIG_DFL && before.sa_handler != SIG_IGN) {
    before.sa_handler(sig);
  } else {
    signal(sig, SIG_DFL);  // the fault repeats on return, with the default action
  }
}

void guard(void* map) {
  mapStart = static_cast<char*>(map);
  struct sigaction sa = {};
  sa.sa_sigaction = onBusFault;
  sigemptyset(&sa.sa_mask);
  sa.sa_flags = SA_SIGINFO | SA_RESTART;
  sigaction(SIGBUS, &sa, &before);
}
}  // namespace

SimStore& SimStore::get() {
  static SimStore store;
  return store;
}

bool useMemoryState() {
  if (storeMade) return memoryChosen;
  memoryChosen = true;
  return true;
}

std::string stateWhere() { return SimStore::get().inMemory() ? "memory" : statePath(); }

// A forked child opens the file again: a lock belongs to an open file, which
// parent and child would otherwise share and so not exclude each other.
// Only a regular file of this user's, reached without a symbolic link: the
// default place, /tmp, is shared, and a link or a file planted there by
// another user must not receive this user's writes.
void SimStore::openFile() {
  if (fd >= 0) ::close(fd);
  guardFd = -1;
  fd = ::open(statePath().c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666);
  if (fd < 0 && errno == ELOOP) refuse("is a symbolic link, which is not followed", ELSEWHERE);
  if (fd < 0 && errno == EISDIR) refuse("is a directory", ELSEWHERE);
  if (fd < 0) fatal("cannot open the simulator state");
  struct stat sb;
  if (fstat(fd, &sb) != 0) fatal("cannot read the simulator state");
  if (!S_ISREG(sb.st_mode)) refuse("is not a regular file", ELSEWHERE);
  if (sb.st_uid != geteuid()) refuse("belongs to another user", ELSEWHERE);
  ownerPid = getpid();
  guardFd = fd;
}

// Under the lock: the file as this process mapped it, or the end of the process.
void SimStore::check() {
  struct stat sb;
  if (cutUnderUs || fstat(fd, &sb) != 0 || sb.st_size != static_cast<off_t>(sizeof(SimState)))
    refuse("was cut or grown by another program while in use", AFRESH);
  if (!valid(*st)) refuse("was overwritten by another program while in use", AFRESH);
}

SimStore::SimStore() {
  storeMade = true;
  // Outside the state lock, which every other process waits for.
  traceOpen();
  if (memoryChosen) {
    st = new SimState();
    resetState(*st);
  } else {
    mapFile();
  }
}

void SimStore::mapFile() {
  openFile();
  if (flock(fd, LOCK_EX) != 0) fatal("cannot lock the simulator state");
  struct stat sb;
  if (fstat(fd, &sb) != 0) fatal("cannot read the simulator state");
  bool fresh = static_cast<size_t>(sb.st_size) != sizeof(SimState);
  if (fresh && ftruncate(fd, sizeof(SimState)) != 0) fatal("cannot size the simulator state");
  void* p = ::mmap(nullptr, sizeof(SimState), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  if (p == MAP_FAILED) fatal("cannot map the simulator state");
  st = static_cast<SimState*>(p);
  if (fresh || !valid(*st)) resetState(*st);
  guard(p);
  flock(fd, LOCK_UN);
}

void SimStore::lock() {
  threadMutex.lock();
  if (depth++ == 0 && !inMemory()) {
    if (getpid() != ownerPid) openFile();
    while (flock(fd, LOCK_EX) != 0 && errno == EINTR) {
    }
    check();
  }
}

void SimStore::unlock() {
  if (depth == 1 && cutUnderUs) check();
  if (--depth == 0 && !inMemory()) flock(fd, LOCK_UN);
  threadMutex.unlock();
}

uint64_t nowNs() {
  struct timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<uint64_t>(ts.tv_sec) * 1000000000ull + static_cast<uint64_t>(ts.tv_nsec) + skippedNs.load();
}

bool skipTime(uint64_t ns) {
  if (!SimStore::get().inMemory()) return false;
  skippedNs += ns;
  return true;
}

}  // namespace sim
