// A process killed at any instant of a take, a hold or a give of a named
// semaphore: the next process's access completes within seconds, and says
// that it recovered the semaphore exactly when the killed one held it.
//
// A killed process leaves behind only what is in /dev/shm: the files, their
// bytes and the flocks held on them. That changes only by a system call or by
// a store into a shared mapping, and the program stores into one (the
// semaphore; the lock file's record is written with system calls) only inside
// the methods that take and give. So the program is run once under ptrace
// from the first call of the semaphore's getter to its end, stopping at every
// system call and stepping through those methods one instruction at a time,
// and every instruction that changed the state is noted, as the n-th
// execution of the instruction at its address. Killing the program right
// after each of them, and at the opening, covers every state a kill can leave:
// each run stops at the noted execution by a breakpoint, checks that its next
// step changes the state again, and is killed there.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <unordered_map>

#include "programs.h"
#include "semIsolation.h"
#include "testEnv.h"
#include "textUtil.h"
#include "tracer.h"

namespace {
struct Window {
  std::vector<std::string> args;
  std::string getter;  // where the window opens: the first take of a semaphore
};

#if defined(__x86_64__)
constexpr long MAX_STOPS = 1000000;
constexpr int NEXT_ACCESS_MS = 3000;

// What a killed process leaves behind for the next one: the files in
// /dev/shm, their first bytes and whether a flock is held on each. The bytes
// are read through mappings kept open, so that a look after an ordinary
// instruction costs no system call; the listing and the locks, which only a
// system call changes, are looked at again after one.
class ShmWatch {
public:
  ~ShmWatch() { forget(); }
  // The state as a key: equal keys, equal states.
  std::string state(bool afterSyscall) {
    if (afterSyscall || files.empty()) relist();
    std::string key;
    for (const File& f : files) {
      key += f.name + (f.locked ? "+" : "-");
      key.append(reinterpret_cast<const char*>(f.bytes), f.size);
    }
    return key;
  }

  // The state as a reader wants it: a line per file.
  std::string text() {
    relist();
    std::string out;
    for (const File& f : files) {
      out += f.name + (f.locked ? " locked" : "");
      for (size_t i = 0; i < f.size; ++i) out += formatted(" %02x", f.bytes[i]);
      out += "\n";
    }
    return out;
  }

private:
  struct File {
    std::string name;
    bool locked;
    const unsigned char* bytes;
    size_t size;
  };
  static constexpr size_t SHOWN = 64;

  void forget() {
    for (const File& f : files)
      if (f.size) munmap(const_cast<unsigned char*>(f.bytes), f.size);
    files.clear();
  }

  void relist() {
    forget();
    for (const std::string& name : shmNames()) {
      int fd = open(("/dev/shm/" + name).c_str(), O_RDONLY);
      struct stat st;
      File f = {name, flock(fd, LOCK_EX | LOCK_NB) != 0, nullptr, 0};
      if (!f.locked) flock(fd, LOCK_UN);  // explicitly: the mapping below keeps the open file alive
      if (fstat(fd, &st) == 0 && st.st_size > 0) f.size = std::min(SHOWN, static_cast<size_t>(st.st_size));
      void* p = f.size ? mmap(nullptr, f.size, PROT_READ, MAP_SHARED, fd, 0) : MAP_FAILED;
      if (p == MAP_FAILED) f.size = 0;
      else f.bytes = static_cast<const unsigned char*>(p);
      close(fd);
      files.push_back(f);
    }
  }

  std::vector<File> files;
};

// Where the state changed: by the n-th execution, counted from the opening of
// the window, of the instruction at pc.
struct Change {
  uint64_t pc;
  long n;
};

// The methods that store into the shared mappings between system calls.
const char* const STEPPED[] = {"SharedSem::tryTake(", "SharedSem::give(", "SharedSem::adoptFromDead("};

// Starts the program and stops it where the window opens. "" or what went wrong.
std::string openWindow(Tracee& t, const Window& w) {
  std::string why = t.start(programArgv(diagSimBin(), w.args));
  if (!why.empty()) return why;
  uint64_t from = t.function(w.getter + "(");
  if (!from) return "no " + w.getter + " among the program's symbols";
  return t.runTo(from) ? "" : "the program never called " + w.getter;
}

// Notes, from the opening of the window to the end of the program, each
// instruction that changed the state. "" or what went wrong.
std::string observeWindow(const Window& w, std::vector<Change>* changes) {
  Tracee t;
  std::string why = openWindow(t, w);
  if (!why.empty()) return why;
  for (const char* name : STEPPED) {
    uint64_t addr = t.function(name);
    if (!addr) return std::string("no ") + name + " among the program's symbols";
    t.addBreakpoint(addr);
  }
  ShmWatch watch;
  std::string state = watch.state(true);
  std::unordered_map<uint64_t, long> runs;
  auto note = [&](Change c, bool afterSyscall) {
    std::string now = watch.state(afterSyscall);
    if (now != state) changes->push_back(c);
    state = now;
  };
  for (long stops = 0; stops < MAX_STOPS; ++stops) {
    switch (t.cont(true)) {
      case Tracee::ENDED:
        return t.wasStuck() ? "the program stopped making progress" : "";
      case Tracee::SYSCALL_ENTRY: {
        Change c = {t.syscallInsn(), ++runs[t.syscallInsn()]};
        if (t.syscallNr() == SYS_exit_group) return "";  // nothing of the program runs after it
        if (t.cont(true) != Tracee::SYSCALL_EXIT) return "the program ended inside a system call";
        note(c, true);
        break;
      }
      case Tracee::SYSCALL_EXIT:
        return "a system call's exit without its entry";
      case Tracee::BREAKPOINT: {
        // To the return to its caller, one instruction at a time.
        uint64_t ret = t.peek(t.sp()), retSp = t.sp() + 8;
        while (t.pc() != ret || t.sp() != retSp) {
          Change c = {t.pc(), ++runs[t.pc()]};
          bool syscall = t.atSyscall();
          if (!t.step()) return "the program ended inside a stepped method";
          note(c, syscall);
        }
        break;
      }
    }
  }
  return "the program did not end within " + std::to_string(MAX_STOPS) + " stops";
}

// Runs the program to the first instruction after the change (at the opening
// of the window when there is none) and kills it there. "" or what went wrong.
std::string killAfter(const Window& w, const Change* c) {
  Tracee t;
  std::string why = openWindow(t, w);
  if (why.empty() && c) {
    if (!t.runTo(c->pc, c->n))
      return t.wasStuck() ? "the program stopped making progress before the change" : "the change was not reached";
    ShmWatch watch;
    std::string before = watch.state(true);
    t.step();
    if (watch.state(true) == before) why = "the instruction did not change the state this time";
  }
  t.kill();
  return why;
}

// Kills the program at the first instruction of each state of the window and
// checks the next access. The report: "states N, held H" and the first fault.
std::string killEverywhere(const char* semName, const Window& w) {
  simctl({"reset"});  // a healthy main host, whatever tests before left
  RunResult first = runSim(w.args);
  std::vector<Change> changes;
  std::string why = observeWindow(w, &changes);
  if (first.exitCode != 0 || !why.empty()) return "no window: " + why + "\n" + first.out;
  std::ostringstream faults;
  int held = 0;
  std::string recovered = std::string("recovered semaphore ") + semName + " from process ";
  for (size_t k = 0; k <= changes.size(); ++k) {
    why = killAfter(w, k ? &changes[k - 1] : nullptr);
    bool wasHeld = semValue(semName) == 0;
    held += wasHeld;
    long long t0 = monoMs();
    RunResult next = runSim(w.args, "", NEXT_ACCESS_MS);
    std::string nextOut = next.out;
    size_t line = nextOut.find(recovered);
    if (line != std::string::npos) nextOut.erase(line, nextOut.find('\n', line) + 1 - line);
    std::string after = ShmWatch().text();
    if (!why.empty() || next.exitCode != 0 || nextOut != first.out || countOf(next.out, recovered) != (wasHeld ? 1u : 0u) ||
        semValue(semName) != 1 || contains(after, "locked"))
      faults << "killed at state " << k << " (" << why << "), held " << wasHeld << ": next exit " << next.exitCode
             << " after " << monoMs() - t0 << " ms, printed:\n" << next.out << "left:\n" << after;
    if (!faults.str().empty()) break;  // the states after a fault start from a broken one
  }
  return "states " + std::to_string(changes.size() + 1) + ", held " + std::to_string(held) + "\n" + faults.str();
}

#endif

void expectEveryKillSettled(const char* semName, const Window& w) {
  std::string why = Tracee::unavailable();
  if (!why.empty()) GTEST_SKIP() << why;
#if defined(__x86_64__)
  RUN_ISOLATED(report, [&] { return killEverywhere(semName, w); });
  int states = 0, held = 0;
  ASSERT_EQ(sscanf(report.c_str(), "states %d, held %d", &states, &held), 2) << report;
  // Free, locked, taking, taken, given, unlocked at the least; held in at least one of them.
  EXPECT_GE(states, 6) << report;
  EXPECT_GE(held, 1) << report;
  EXPECT_EQ(report.substr(report.find('\n') + 1), "");
#endif
}
}  // namespace

TEST(SemaphoreKillPoints, FpgaWordAccessKilledAnywhereIsSettledByTheNextProcess) {
  expectEveryKillSettled("diagGPMCSem", {{"gpmc", "-m", "reg", "-r", "1"}, "ProgramSem::take"});
}

TEST(SemaphoreKillPoints, I2cAccessKilledAnywhereIsSettledByTheNextProcess) {
  expectEveryKillSettled("diagSem", {{"i2c", "-d", "mhEeprom", "-o", "0", "-r", "1"}, "ProgramSem::take"});
}
