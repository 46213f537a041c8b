// Random kill -9 among processes that share the named semaphores.
//
//   diag_sem_stress [KILLS [WORKERS [SEED]]]      (10000, 8, the time)
//
// WORKERS diag-sim processes run one script on one simulated instrument, each
// command taking "diagSem" (two EEPROMs at the same address behind two
// channels of one switch) or "diagGPMCSem" (the FPGA scratch register, written
// with the worker's own values and read back). Every few milliseconds a random
// worker is killed with SIGKILL wherever it stands and a new one started in
// its place. Reported:
// - wedges: 3 s in which no worker completed an access under one of the
//   semaphores (all workers are then killed, the wedge counted once, and the
//   semaphores removed so that the run can go on);
// - torn words: an EEPROM read that returned the other EEPROM's bytes or
//   failed (another process's switch selection inside this one's access), or
//   a scratch register read that returned a value no worker wrote;
// - recoveries: "recovered semaphore" lines, one per kill that landed while
//   the victim held a semaphore.
// It runs in a /dev/shm of its own (a private mount namespace, as root), so
// that the instrument's and other users' semaphores are not touched.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "stressRun.h"

namespace {
constexpr int STALL_MS = 3000;
constexpr int ROUNDS = 2000;  // of the script: far more than a worker lives
constexpr int MAX_GAP_US = 8000;  // between kills: uniform in [0, MAX_GAP_US)
const char COMM_EEPROM[] = "5a39203039393620";  // "Z9 0996 "
const char FC_EEPROM[] = "5a39203039393520";  // "Z9 0995 "

// The scratch register values worker slot w may write: distinct per slot.
unsigned scratchValue(int w, int round) { return 0xa000u | (static_cast<unsigned>(w) << 8) | (round & 0xff); }

std::string writeScript(const std::string& dir, int w) {
  std::string path = dir + "/worker" + std::to_string(w) + ".txt";
  std::ofstream f(path);
  for (int r = 0; r < ROUNDS; ++r) {
    char word[16];
    snprintf(word, sizeof word, "0x%04x", scratchValue(w, r));
    f << "gpmc -m reg -r 1 -o 4\n"
      << "i2c -d commEeprom -o 0 -r 8\n"
      << "gpmc -m reg -w 1 -o 4 -d " << word << "\n"
      << "i2c -d fcEeprom -o 0 -r 8\n";
  }
  return path;
}

struct Worker {
  pid_t pid = -1;
  int out = -1;
  std::string pending;  // an incomplete last line
  int eepromReads = 0;  // to tell which EEPROM the next read line is from
};

struct Figures {
  long kills = 0, wedges = 0, torn = 0, recoveries = 0, words = 0, waits = 0;
};

class Stress {
public:
  Stress(std::string sim, int workers, unsigned seed) : sim(std::move(sim)), w(workers), rng(seed) {
    char tmpl[] = "/tmp/diag-sem-stress-XXXXXX";
    dir = mkdtemp(tmpl) ? tmpl : "/tmp";
    setenv("DIAG_SIM_STATE", (dir + "/sim.state").c_str(), 1);
    unsetenv("DIAG_SIM_TRACE");
    for (int i = 0; i < 16; ++i)
      for (int r = 0; r < 256; ++r) written.insert(scratchValue(i, r));
    for (int i = 0; i < workers; ++i) scripts.push_back(writeScript(dir, i));
  }

  Figures run(long kills) {
    written.insert(firstScratch());
    lastI2c = lastFpga = nowMs();
    for (int i = 0; i < w; ++i) start(i);
    std::uniform_int_distribution<int> gap(0, MAX_GAP_US - 1), pick(0, w - 1);
    while (f.kills < kills) {
      long long until = nowMs() * 1000 + gap(rng);
      do pump(static_cast<int>(until / 1000 - nowMs())); while (nowMs() * 1000 < until);
      if (checkStalls()) continue;
      int victim = pick(rng);
      end(victim);
      ++f.kills;
      start(victim);
    }
    for (int i = 0; i < w; ++i) end(i);
    return f;
  }

  // After the run: one more access of each kind completes within the bound.
  bool finalAccessesComplete() {
    for (const char* args : {"i2c -d commEeprom -o 0 -r 8", "gpmc -m reg -r 1 -o 4"}) {
      std::string cmd = "timeout 3 " + sim + " " + args + " >/dev/null 2>&1";
      if (system(cmd.c_str()) != 0) return false;
    }
    return true;
  }

  ~Stress() {
    for (const std::string& s : scripts) unlink(s.c_str());
    unlink((dir + "/sim.state").c_str());
    rmdir(dir.c_str());
  }

private:
  unsigned firstScratch() {
    std::string cmd = sim + " gpmc -m reg -r 1 -o 4";
    FILE* p = popen(cmd.c_str(), "r");
    char line[256];
    unsigned v = 0;
    while (p && fgets(line, sizeof line, p)) sscanf(line, "0004: %x", &v);
    if (p) pclose(p);
    return v;
  }

  void start(int i) {
    int p[2];
    if (pipe2(p, O_CLOEXEC) != 0) return;
    pid_t pid = fork();
    if (pid == 0) {
      dup2(p[1], 1);
      dup2(p[1], 2);
      execl(sim.c_str(), sim.c_str(), "file", scripts[i].c_str(), static_cast<char*>(nullptr));
      _exit(127);
    }
    close(p[1]);
    ws[i] = Worker{pid, p[0], "", 0};
  }

  void end(int i) {
    Worker& x = ws[i];
    if (x.pid > 0) {
      kill(x.pid, SIGKILL);
      waitpid(x.pid, nullptr, 0);
    }
    if (x.out >= 0) close(x.out);
    x = Worker{};
  }

  // Reads what the workers printed for up to ms, checking each whole line.
  void pump(int ms) {
    std::vector<pollfd> fds;
    for (int i = 0; i < w; ++i) fds.push_back({ws[i].out, POLLIN, 0});
    if (poll(fds.data(), fds.size(), ms < 0 ? 0 : ms) <= 0) return;
    for (int i = 0; i < w; ++i) {
      if (!(fds[i].revents & (POLLIN | POLLHUP))) continue;
      char buf[4096];
      ssize_t n = read(ws[i].out, buf, sizeof buf);
      if (n <= 0) {  // the script ran out: start it again
        end(i);
        start(i);
        continue;
      }
      Worker& x = ws[i];
      x.pending.append(buf, static_cast<size_t>(n));
      for (size_t nl; (nl = x.pending.find('\n')) != std::string::npos; x.pending.erase(0, nl + 1))
        check(x, x.pending.substr(0, nl));
    }
  }

  void check(Worker& x, const std::string& line) {
    unsigned v = 0;
    if (line.rfind("5a39", 0) == 0) {
      const char* want = x.eepromReads++ % 2 ? FC_EEPROM : COMM_EEPROM;
      f.torn += line.compare(0, strlen(want), want) != 0;
      ++f.words;
      lastI2c = nowMs();
    } else if (sscanf(line.c_str(), "0004: %x", &v) == 1) {
      f.torn += written.count(v) == 0;
      ++f.words;
      lastFpga = nowMs();
    } else if (line.find("recovered semaphore") != std::string::npos) {
      ++f.recoveries;
    } else if (line.find("waiting for semaphore") != std::string::npos) {
      ++f.waits;
    } else if (line.find("file ") == 0 || line.find("failed") != std::string::npos) {
      ++f.torn;  // an access that failed: a selection not its own, or a chip that did not answer
      fprintf(stderr, "failed access: %s\n", line.c_str());
    }
  }

  bool checkStalls() {
    long long now = nowMs();
    if (now - lastI2c <= STALL_MS && now - lastFpga <= STALL_MS) return false;
    ++f.wedges;
    fprintf(stderr, "wedge after %ld kills: no %s access completed for %d ms\n", f.kills,
            now - lastI2c > STALL_MS ? "I2C" : "FPGA", STALL_MS);
    for (int k = 0; k < w; ++k) end(k);
    for (const char* name : {"sem.diagGPMCSem", "sem.diagSem", "diagGPMCSem.lock", "diagSem.lock"})
      unlink((std::string("/dev/shm/") + name).c_str());
    lastI2c = lastFpga = nowMs();
    for (int k = 0; k < w; ++k) start(k);
    return true;
  }

  std::string sim;
  int w;
  std::mt19937 rng;
  std::string dir;
  std::vector<std::string> scripts;
  std::set<unsigned> written;
  Worker ws[64];
  Figures f;
  long long lastI2c = 0, lastFpga = 0;  // when an access under each semaphore last completed
};
}  // namespace

int main(int argc, char** argv) {
  StressArgs a = {10000, 8, 0};
  if (!stressArgs(argc, argv, "diag_sem_stress [KILLS (at least 1) [WORKERS (2 to 16) [SEED]]]", &a, 2) ||
      !ownShm("diag_sem_stress"))
    return 2;
  signal(SIGPIPE, SIG_IGN);
  Stress s(simProgram(), a.workers, a.seed);
  long long t0 = nowMs();
  Figures f = s.run(a.count);
  bool finalOk = s.finalAccessesComplete();
  printf("kills %ld, workers %d, seed %u\n", f.kills, a.workers, a.seed);
  printf("wedges %ld, torn words %ld, words checked %ld\n", f.wedges, f.torn, f.words);
  printf("recoveries %ld, waits reported %ld, final accesses %s\n", f.recoveries, f.waits,
         finalOk ? "completed" : "did NOT complete within 3 s");
  printRunLine(t0);
  return f.wedges == 0 && f.torn == 0 && finalOk ? 0 : 1;
}
