// Random damage to the files that every user can reach, between and during
// runs of concurrent diag processes.
//
//   diag_damage_stress [DAMAGES [WORKERS [SEED]]]      (10000, 4, the time)
//
// The files: the two lock files beside the named semaphores (/dev/shm, mode
// 0666 by design) and the simulator's state file. Each damage picks one of
// them and cuts it short, grows it, overwrites bytes of it with garbage,
// replaces it (by another file, a directory or a FIFO), or puts a symbolic
// link in its place (to a decoy file, or to nowhere). Then WORKERS diag-sim
// processes run a short script at once, each taking both semaphores (an FPGA
// word, an EEPROM read); every other damage lands while they run rather than
// before. What an operator would remove (a directory, a FIFO, a link) is
// removed after the round. Reported:
// - crashes: a process ended by a signal (a bus fault, say);
// - wedges: a round that did not end within 20 s (its processes are killed);
// - writes through a link: the decoy changed, or the link's missing target
//   appeared;
// - refusals, repairs and rounds in which every process read both words.
// Exit 0 only with no crash, no wedge and no write through a link.
// It runs in a /dev/shm of its own (a private mount namespace, as root).
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "stressRun.h"

namespace {
constexpr int ROUND_MS = 20000;
constexpr int MAX_DURING_US = 8000;  // a damage during a round lands this soon after its start
const char* const LOCKS[] = {"/dev/shm/diagGPMCSem.lock", "/dev/shm/diagSem.lock"};
const char DECOY_TEXT[] = "a file of another user's that diag must never write\n";

std::string slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

enum E_DAMAGE { CUT, GROW, GARBAGE, REPLACE_FILE, REPLACE_DIR, REPLACE_FIFO, LINK_DECOY, LINK_NOWHERE, DAMAGE_KINDS };
const char* const DAMAGE_NAMES[] = {"cut", "grow", "garbage", "replace by a file", "replace by a directory",
                                    "replace by a FIFO", "link to a decoy", "link to nowhere"};

struct Figures {
  long damages = 0, during = 0, processes = 0, crashes = 0, wedges = 0, throughLink = 0;
  long refusals = 0, repairs = 0, cleanRounds = 0;
  long byKind[DAMAGE_KINDS] = {};
};

struct Proc {
  pid_t pid = -1;
  int out = -1;
  std::string text;
};

class DamageStress {
public:
  DamageStress(std::string sim, int workers, unsigned seed) : sim(std::move(sim)), w(workers), rng(seed) {
    char tmpl[] = "/tmp/diag-damage-stress-XXXXXX";
    dir = mkdtemp(tmpl) ? tmpl : "/tmp";
    state = dir + "/sim.state";
    decoy = dir + "/decoy";
    nowhere = dir + "/nowhere";
    setenv("DIAG_SIM_STATE", state.c_str(), 1);
    unsetenv("DIAG_SIM_TRACE");
    script = dir + "/round.txt";
    std::ofstream(script) << "gpmc -m reg -r 1 -o 4\ni2c -d commEeprom -o 0 -r 8\n";
  }

  ~DamageStress() {
    for (const std::string& p : {script, state, decoy, nowhere}) removeAny(p);
    rmdir(dir.c_str());
  }

  Figures run(long damages) {
    round(false);  // the files made whole first
    while (f.damages < damages) {
      std::ofstream(decoy) << DECOY_TEXT;
      const std::string target = pick();
      const E_DAMAGE kind = static_cast<E_DAMAGE>(std::uniform_int_distribution<int>(0, DAMAGE_KINDS - 1)(rng));
      const bool during = rng() % 2 == 1;
      ++f.damages;
      ++f.byKind[kind];
      f.during += during;
      if (!during) damage(target, kind);
      round(during, target, kind);
      if (slurp(decoy) != DECOY_TEXT || access(nowhere.c_str(), F_OK) == 0) {
        ++f.throughLink;
        fprintf(stderr, "written through a link: %s, %s\n", target.c_str(), DAMAGE_NAMES[kind]);
        removeAny(nowhere);
      }
      clearUp(target);
    }
    return f;
  }

private:
  std::string pick() {
    int n = static_cast<int>(rng() % 3);
    return n < 2 ? LOCKS[n] : state;
  }

  static void removeAny(const std::string& path) {
    if (unlink(path.c_str()) != 0) rmdir(path.c_str());
  }

  // What an operator removes when diag names it: anything at the path that is not a regular file.
  static void clearUp(const std::string& path) {
    struct stat st;
    if (lstat(path.c_str(), &st) == 0 && !S_ISREG(st.st_mode)) removeAny(path);
  }

  std::string garbage(size_t n) {
    std::string g(n, '\0');
    for (char& c : g) c = static_cast<char>(rng());
    return g;
  }

  void damage(const std::string& path, E_DAMAGE kind) {
    struct stat st;
    const off_t size = stat(path.c_str(), &st) == 0 ? st.st_size : 0;
    switch (kind) {
      case CUT: truncate(path.c_str(), size > 0 ? static_cast<off_t>(rng() % size) : 0); break;
      case GROW: {
        int fd = open(path.c_str(), O_WRONLY | O_APPEND);
        std::string g = garbage(1 + rng() % 64);
        if (fd >= 0 && write(fd, g.data(), g.size()) < 0) perror("grow");
        if (fd >= 0) close(fd);
        break;
      }
      case GARBAGE: {
        int fd = open(path.c_str(), O_WRONLY);
        for (int k = 0; fd >= 0 && k < 4; ++k) {
          std::string g = garbage(1 + rng() % 8);
          if (pwrite(fd, g.data(), g.size(), size > 0 ? static_cast<off_t>(rng() % size) : 0) < 0) perror("garbage");
        }
        if (fd >= 0) close(fd);
        break;
      }
      case REPLACE_FILE: {
        std::string made = path + ".made";
        std::ofstream(made, std::ios::binary) << garbage(rng() % 16);
        rename(made.c_str(), path.c_str());
        break;
      }
      case REPLACE_DIR: removeAny(path); mkdir(path.c_str(), 0777); break;
      case REPLACE_FIFO: removeAny(path); mkfifo(path.c_str(), 0666); break;
      case LINK_DECOY: removeAny(path); symlink(decoy.c_str(), path.c_str()); break;
      case LINK_NOWHERE: removeAny(path); symlink(nowhere.c_str(), path.c_str()); break;
      default: break;
    }
  }

  Proc start() {
    Proc p;
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) return p;
    p.pid = fork();
    if (p.pid == 0) {
      dup2(fds[1], 1);
      dup2(fds[1], 2);
      execl(sim.c_str(), sim.c_str(), "file", script.c_str(), static_cast<char*>(nullptr));
      _exit(127);
    }
    close(fds[1]);
    p.out = fds[0];
    return p;
  }

  // Reads what the processes print until all have closed their output, or the round's time is up.
  static bool collect(std::vector<Proc>& ps, long long deadline) {
    for (;;) {
      std::vector<pollfd> fds;
      std::vector<Proc*> of;
      for (Proc& p : ps)
        if (p.out >= 0) {
          fds.push_back({p.out, POLLIN, 0});
          of.push_back(&p);
        }
      if (fds.empty()) return true;
      long long left = deadline - nowMs();
      if (left <= 0 || poll(fds.data(), fds.size(), static_cast<int>(left)) < 0) return false;
      for (size_t i = 0; i < fds.size(); ++i) {
        if (!(fds[i].revents & (POLLIN | POLLHUP | POLLERR))) continue;
        char buf[4096];
        ssize_t n = read(of[i]->out, buf, sizeof buf);
        if (n > 0) {
          of[i]->text.append(buf, static_cast<size_t>(n));
        } else {
          close(of[i]->out);
          of[i]->out = -1;
        }
      }
    }
  }

  void round(bool during, const std::string& target = "", E_DAMAGE kind = CUT) {
    std::vector<Proc> ps;
    for (int i = 0; i < w; ++i) ps.push_back(start());
    if (during) {
      usleep(static_cast<useconds_t>(rng() % MAX_DURING_US));
      damage(target, kind);
    }
    const bool ended = collect(ps, nowMs() + ROUND_MS);
    if (!ended) ++f.wedges;
    bool clean = true;
    for (Proc& p : ps) {
      if (!ended) kill(p.pid, SIGKILL);
      int status = 0;
      waitpid(p.pid, &status, 0);
      if (p.out >= 0) close(p.out);
      ++f.processes;
      if (ended && WIFSIGNALED(status)) {
        ++f.crashes;
        fprintf(stderr, "crash (signal %d) after %s of %s:\n%s\n", WTERMSIG(status), DAMAGE_NAMES[kind], target.c_str(),
                p.text.c_str());
      }
      f.repairs += p.text.find("repaired lock file") != std::string::npos;
      f.refusals += p.text.find("it is not a lock file of diag") != std::string::npos ||
                    p.text.find("diag-sim: the simulator state") != std::string::npos;
      clean = clean && p.text.find("\n0004: ") != std::string::npos &&
              p.text.find("5a392030393936") != std::string::npos;  // the FPGA word and "Z9 0996"
    }
    if (!ended) fprintf(stderr, "wedge after %s of %s\n", DAMAGE_NAMES[kind], target.c_str());
    f.cleanRounds += clean;
  }

  std::string sim;
  int w;
  std::mt19937 rng;
  std::string dir, state, decoy, nowhere, script;
  Figures f;
};
}  // namespace

int main(int argc, char** argv) {
  StressArgs a = {10000, 4, 0};
  if (!stressArgs(argc, argv, "diag_damage_stress [DAMAGES (at least 1) [WORKERS (1 to 16) [SEED]]]", &a, 1) ||
      !ownShm("diag_damage_stress"))
    return 2;
  signal(SIGPIPE, SIG_IGN);
  DamageStress s(simProgram(), a.workers, a.seed);
  long long t0 = nowMs();
  Figures f = s.run(a.count);
  printf("damages %ld (%ld during a round), workers %d, seed %u\n", f.damages, f.during, a.workers, a.seed);
  for (int k = 0; k < DAMAGE_KINDS; ++k) printf("  %-24s %ld\n", DAMAGE_NAMES[k], f.byKind[k]);
  printf("processes %ld, crashes %ld, wedges %ld, writes through a link %ld\n", f.processes, f.crashes, f.wedges,
         f.throughLink);
  printf("processes that repaired a lock file %ld, that refused a file %ld, rounds with every access done %ld\n",
         f.repairs, f.refusals, f.cleanRounds);
  printRunLine(t0);
  return f.crashes == 0 && f.wedges == 0 && f.throughLink == 0 ? 0 : 1;
}
