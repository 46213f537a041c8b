#pragma once
#include <signal.h>
#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

// A built program run under ptrace, so that a test can stop it at a system
// call or at an instruction and kill it there. The program itself has no hook
// for this: its functions are found by its symbol table.
//
// Only on x86_64 natively: the armhf tests run under qemu-arm user mode, which
// offers no ptrace of the programs it runs.
class Tracee {
public:
  Tracee() = default;
  ~Tracee();
  Tracee(const Tracee&) = delete;
  Tracee& operator=(const Tracee&) = delete;

  // Why programs cannot be traced here; "" when they can.
  static std::string unavailable();

  // Starts the program (argv[0] its path), stopped before its first instruction,
  // its output thrown away; it is loaded at the same addresses every time.
  // "" or what went wrong.
  std::string start(const std::vector<std::string>& argv);
  // The address, in the running program, of the function whose demangled name
  // begins with prefix (e.g. "semGive("); 0 when there is none.
  uint64_t function(const std::string& prefix) const;

  enum Stop { ENDED, SYSCALL_ENTRY, SYSCALL_EXIT, BREAKPOINT };
  // A breakpoint that cont() keeps set while the program runs.
  void addBreakpoint(uint64_t addr) { breakpoints.push_back(addr); }
  // Runs to the next breakpoint (pc() is then its address, the instruction not
  // yet run) or, when syscalls is true, to the next entry to or exit from a
  // system call.
  Stop cont(bool syscalls);
  // Runs until the instruction at addr is about to run for the n-th time from
  // here; false if the program ended first.
  bool runTo(uint64_t addr, long n = 1);
  // Executes one instruction; false when the program has ended.
  bool step();
  uint64_t pc() const { return at.pc; }
  uint64_t sp() const { return at.sp; }
  // At a system call's entry: the address of the instruction that made it.
  uint64_t syscallInsn() const;
  // At a system call's entry: its number.
  long syscallNr() const;
  uint64_t peek(uint64_t addr) const;
  // True when the next instruction is a system call.
  bool atSyscall() const;
  // SIGKILL where it stands, and collect it.
  void kill();
  // True when it was killed because it ran longer than STOP_TIMEOUT_MS
  // without reaching the next stop.
  bool wasStuck() const { return stuck; }
  static constexpr int STOP_TIMEOUT_MS = 10000;

private:
  bool resume(int request);
  bool waitStop(int* status);

  pid_t pid = -1;
  std::string path;
  int pendingSig = 0;  // a signal the program got, passed on when it resumes
  bool inSyscall = false;  // between a system call's entry stop and its exit stop
  bool syscallStop = false;  // the last stop was at a system call
  bool stuck = false;
  bool maskSaved = false;
  sigset_t oldMask{};
  std::vector<uint64_t> breakpoints;
  struct {
    uint64_t pc = 0, sp = 0;
    long nr = -1;
  } at;  // where it stopped
};
