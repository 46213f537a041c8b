#include "tracer.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "programs.h"
#include "semIsolation.h"

#if defined(__x86_64__)
#include <elf.h>
#include <sys/personality.h>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/user.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>

#include "testEnv.h"

namespace {
constexpr int REFUSED = 126;  // the child could not ask to be traced

// A program's functions by demangled name, as the toolchain's nm lists them,
// and whether they are relative to where the program is loaded.
struct SymbolTable {
  std::map<std::string, uint64_t> functions;
  bool relocated = false;
};

// Read once per program: a test starts the same program many times.
const SymbolTable& symbols(const std::string& file) {
  static std::map<std::string, SymbolTable> read;
  if (auto known = read.find(file); known != read.end()) return known->second;
  SymbolTable& t = read[file];
  std::ifstream elf(file, std::ios::binary);
  char head[EI_NIDENT + 2] = {};
  t.relocated = elf.read(head, sizeof head) && head[EI_NIDENT] == ET_DYN;  // e_type, little-endian
  FILE* nm = popen(("nm -C --defined-only '" + file + "'").c_str(), "r");
  char line[4096];
  while (nm && fgets(line, sizeof line, nm)) {
    char* name = nullptr;
    uint64_t addr = strtoull(line, &name, 16);
    if (name[0] == ' ' && strchr("TtW", name[1]) && name[2] == ' ') {
      name[strcspn(name, "\n")] = '\0';
      t.functions.emplace(name + 3, addr);
    }
  }
  if (nm) pclose(nm);
  return t;
}

// Where the kernel loaded the file into the process: its mapping at offset 0.
uint64_t loadBase(pid_t pid, const std::string& file) {
  struct stat st;
  if (stat(file.c_str(), &st) != 0) return 0;
  std::istringstream maps(readFile("/proc/" + std::to_string(pid) + "/maps"));
  for (std::string line; std::getline(maps, line);) {
    std::istringstream f(line);
    std::string range, perms, offset, dev;
    unsigned long long inode = 0;
    f >> range >> perms >> offset >> dev >> inode;
    if (inode == st.st_ino && std::stoull(offset, nullptr, 16) == 0) return std::stoull(range, nullptr, 16);
  }
  return 0;
}

struct user_regs_struct regs(pid_t pid) {
  struct user_regs_struct r = {};
  ptrace(PTRACE_GETREGS, pid, nullptr, &r);
  return r;
}

void setPc(pid_t pid, uint64_t pc) {
  struct user_regs_struct r = regs(pid);
  r.rip = pc;
  ptrace(PTRACE_SETREGS, pid, nullptr, &r);
}

// The instruction's first byte replaced by int3 while the program runs.
struct Patch {
  uint64_t addr;
  long orig;
};
}  // namespace

// Asked once, by starting a small program: a container or a security policy may refuse ptrace.
std::string Tracee::unavailable() {
  static const std::string why = Tracee().start({"/bin/true"});
  return why;
}

Tracee::~Tracee() {
  kill();
  if (maskSaved) pthread_sigmask(SIG_SETMASK, &oldMask, nullptr);
}

bool Tracee::waitStop(int* status) {
  sigset_t chld;
  sigemptyset(&chld);
  sigaddset(&chld, SIGCHLD);
  long long deadline = monoMs() + STOP_TIMEOUT_MS;
  for (;;) {
    pid_t r = waitpid(pid, status, WNOHANG);
    if (r == pid) return true;
    long long left = deadline - monoMs();
    if (r < 0 || left <= 0) return false;
    struct timespec t = {static_cast<time_t>(left / 1000), static_cast<long>(left % 1000) * 1000000L};
    sigtimedwait(&chld, nullptr, &t);
  }
}

std::string Tracee::start(const std::vector<std::string>& argv) {
  path = argv[0];
  pid = fork();
  if (pid == 0) {
    int null = open("/dev/null", O_RDWR);
    dup2(null, 0);
    dup2(null, 1);
    dup2(null, 2);
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(REFUSED);
    // The same addresses in every run, and no lazy symbol binding to make one
    // run's instruction counts differ from another's.
    personality(ADDR_NO_RANDOMIZE);
    setenv("LD_BIND_NOW", "1", 1);
    // The leak check at exit stops the program's threads with ptrace, which a
    // traced program cannot.
    const char* asan = getenv("ASAN_OPTIONS");
    setenv("ASAN_OPTIONS", (std::string(asan ? asan : "") + ":detect_leaks=0").c_str(), 1);
    execProgram(argv);
  }
  // The stops are waited for with a bound: SIGCHLD, blocked, tells of each.
  sigset_t chld;
  sigemptyset(&chld);
  sigaddset(&chld, SIGCHLD);
  maskSaved = pthread_sigmask(SIG_BLOCK, &chld, &oldMask) == 0;
  int status = 0;
  if (!waitStop(&status) || !WIFSTOPPED(status)) {
    kill();
    return WIFEXITED(status) && WEXITSTATUS(status) == REFUSED ? "ptrace is not permitted here"
                                                                : "the program did not start";
  }
  ptrace(PTRACE_SETOPTIONS, pid, nullptr, reinterpret_cast<void*>(PTRACE_O_EXITKILL | PTRACE_O_TRACESYSGOOD));
  return "";
}

uint64_t Tracee::function(const std::string& prefix) const {
  const SymbolTable& t = symbols(path);
  auto f = t.functions.lower_bound(prefix);
  if (f == t.functions.end() || f->first.rfind(prefix, 0) != 0) return 0;
  return t.relocated ? loadBase(pid, path) + f->second : f->second;
}

bool Tracee::resume(int request) {
  int sig = pendingSig;
  pendingSig = 0;
  syscallStop = false;
  if (ptrace(static_cast<enum __ptrace_request>(request), pid, nullptr, reinterpret_cast<void*>(sig)) != 0)
    return false;
  int status = 0;
  if (!waitStop(&status)) {
    kill();
    stuck = true;
    return false;
  }
  if (!WIFSTOPPED(status)) {
    pid = -1;  // ended
    return false;
  }
  if (WSTOPSIG(status) == (SIGTRAP | 0x80)) syscallStop = true;
  else if (WSTOPSIG(status) != SIGTRAP) pendingSig = WSTOPSIG(status);
  struct user_regs_struct r = regs(pid);
  at.pc = r.rip;
  at.sp = r.rsp;
  at.nr = static_cast<long>(r.orig_rax);
  return true;
}

Tracee::Stop Tracee::cont(bool syscalls) {
  for (;;) {
    if (pid <= 0) return ENDED;
    // Standing on a breakpoint's instruction: run it first, or the trap would
    // fire at once without it.
    bool onBreakpoint = !inSyscall && std::find(breakpoints.begin(), breakpoints.end(), at.pc) != breakpoints.end();
    if (onBreakpoint && !step()) return ENDED;
    std::vector<Patch> set;
    for (uint64_t addr : breakpoints) {
      errno = 0;
      long orig = ptrace(PTRACE_PEEKTEXT, pid, reinterpret_cast<void*>(addr), nullptr);
      if (errno) continue;
      ptrace(PTRACE_POKETEXT, pid, reinterpret_cast<void*>(addr), reinterpret_cast<void*>((orig & ~0xffL) | 0xcc));
      set.push_back({addr, orig});
    }
    bool ran = resume(syscalls ? PTRACE_SYSCALL : PTRACE_CONT);
    for (auto p = set.rbegin(); ran && p != set.rend(); ++p)
      ptrace(PTRACE_POKETEXT, pid, reinterpret_cast<void*>(p->addr), reinterpret_cast<void*>(p->orig));
    if (!ran) return ENDED;
    if (syscallStop) {
      inSyscall = !inSyscall;
      return inSyscall ? SYSCALL_ENTRY : SYSCALL_EXIT;
    }
    if (pendingSig) continue;  // the program's own signal, passed on
    for (const Patch& p : set)
      if (at.pc == p.addr + 1) {
        setPc(pid, at.pc = p.addr);
        return BREAKPOINT;
      }
  }
}

bool Tracee::runTo(uint64_t addr, long n) {
  std::vector<uint64_t> kept;
  kept.swap(breakpoints);
  breakpoints.push_back(addr);
  bool reached = true;
  for (long hit = 0; hit < n && reached; ++hit) reached = cont(false) == BREAKPOINT;
  breakpoints.swap(kept);
  return reached;
}

bool Tracee::step() { return pid > 0 && !inSyscall && resume(PTRACE_SINGLESTEP); }

uint64_t Tracee::syscallInsn() const { return at.pc - 2; }

long Tracee::syscallNr() const { return at.nr; }

uint64_t Tracee::peek(uint64_t addr) const {
  return static_cast<uint64_t>(ptrace(PTRACE_PEEKDATA, pid, reinterpret_cast<void*>(addr), nullptr));
}

bool Tracee::atSyscall() const { return (peek(pc()) & 0xffff) == 0x050f; }

void Tracee::kill() {
  if (pid <= 0) return;
  ::kill(pid, SIGKILL);
  waitpid(pid, nullptr, 0);
  pid = -1;
}

#else

// Elsewhere its one user, the kill-point test, builds no more than its skip.
std::string Tracee::unavailable() {
  return "the tracer knows x86_64 only; qemu-arm user mode, which runs the armhf tests, cannot trace the programs it runs";
}

#endif
