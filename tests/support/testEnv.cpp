#include "testEnv.h"

#include <ftw.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

#include "semIsolation.h"
#include "simCtl.h"
#include "textUtil.h"

namespace {
std::string& dirRef() {
  static std::string dir;
  return dir;
}

int removeEntry(const char* path, const struct stat*, int, struct FTW*) { return ::remove(path); }
}  // namespace

const std::string& testDir() { return dirRef(); }

std::string testPath(const std::string& name) { return testDir() + "/" + name; }

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

void writeFile(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary);
  out << text;
}

std::string usePrivateShm() {
  if (unshare(CLONE_NEWNS) != 0) return std::string("unshare(CLONE_NEWNS): ") + strerror(errno);
  if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
    return std::string("making / private: ") + strerror(errno);
  if (mount("tmpfs", "/dev/shm", "tmpfs", 0, "mode=1777") != 0)
    return std::string("tmpfs on /dev/shm: ") + strerror(errno);
  return "";
}

long procStatus(int pid, const std::string& field) {
  const std::string status = readFile("/proc/" + std::to_string(pid) + "/status");
  size_t at = status.find("\n" + field + ":");
  return at == std::string::npos ? -1 : atol(status.c_str() + at + field.size() + 2);
}

bool waitUntil(const std::function<bool()>& done, int timeoutMs, int stepMs) {
  for (long long deadline = monoMs() + timeoutMs; !done(); usleep(stepMs * 1000))
    if (monoMs() > deadline) return false;
  return true;
}

std::string simctl(const std::vector<std::string>& args) {
  std::string out;
  int rc = sim::simCtl(args, out);
  if (rc != 0) throw std::runtime_error("simctl failed: " + out);
  return out;
}

void simctls(std::initializer_list<std::vector<std::string>> commands) {
  for (const std::vector<std::string>& c : commands) simctl(c);
}

void Trace::mark() { offset = readFile(getenv("DIAG_SIM_TRACE")).size(); }

std::vector<std::string> Trace::lines() const {
  std::string all = readFile(getenv("DIAG_SIM_TRACE"));
  return splitLines(all.size() > offset ? all.substr(offset) : "");
}

std::vector<std::string> Trace::grep(const std::string& a, const std::string& b, const std::string& c) const {
  std::vector<std::string> out;
  for (const std::string& l : lines())
    if (l.find(a) != std::string::npos && l.find(b) != std::string::npos && l.find(c) != std::string::npos)
      out.push_back(l);
  return out;
}

namespace {
pid_t madeBy = 0;

// At any exit of the process that made the directory (a death test run anew
// ends with the exit it tests), never of a child forked from it.
void removeTestDir() {
  if (getpid() == madeBy && !getenv("DIAG_KEEP_TEST_DIR"))
    nftw(testDir().c_str(), removeEntry, 16, FTW_DEPTH | FTW_PHYS);
}
}  // namespace

int main(int argc, char** argv) {
  char tmpl[] = "/tmp/diagtest.XXXXXX";
  if (!mkdtemp(tmpl)) return 1;
  dirRef() = tmpl;
  madeBy = getpid();
  atexit(removeTestDir);
  setenv("DIAG_SIM_STATE", testPath("sim.state").c_str(), 1);
  setenv("DIAG_SIM_TRACE", testPath("sim.trace").c_str(), 1);
  selfPath();  // before the private mount namespace: see selfPath
  std::string why = usePrivateShm();
  if (!why.empty()) fprintf(stderr, "note: tests share the system's /dev/shm (%s)\n", why.c_str());
  // The program keeps a signal ignored when it was started so, as a job started in the background must be.
  // A test runner started in the background or under nohup passes such dispositions on; the tests start every
  // program and child as an operator's shell would, with the keys' and the hang-up's signals at their defaults.
  for (int sig : {SIGINT, SIGQUIT, SIGHUP, SIGTERM}) signal(sig, SIG_DFL);
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
