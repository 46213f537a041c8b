#pragma once
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// Every test process works on its own simulated instrument: main() points
// DIAG_SIM_STATE and DIAG_SIM_TRACE at files in a fresh directory, which the
// programs a test starts inherit.
const std::string& testDir();
std::string testPath(const std::string& name);
std::string readFile(const std::string& path);
void writeFile(const std::string& path, const std::string& text);

// Gives this process (and the programs it starts) a /dev/shm of its own: a
// private mount namespace with a fresh tmpfs. The named semaphores are
// system-wide, and builds of other word sizes or other worktrees on the same
// machine must not meet the tests' ones. Returns why it could not ("" when done). main() does it for every test
// process, so tests that hold, leak or kill a holder of one disturb no other.
std::string usePrivateShm();

// A number field of /proc/PID/status (VmHWM in kB, voluntary_ctxt_switches); -1 when /proc cannot tell.
long procStatus(int pid, const std::string& field);

// Asks done() every stepMs until it holds (true) or timeoutMs has passed (false).
bool waitUntil(const std::function<bool()>& done, int timeoutMs, int stepMs);

// The simulator's control surface, in-process (same state as the started programs).
std::string simctl(const std::vector<std::string>& args);
// Several control commands in order, as one step of a test's setup: simctls({{"reset"}, {"set", "board", "signal"}}).
void simctls(std::initializer_list<std::vector<std::string>> commands);

// Sets an environment variable, which the programs started meanwhile inherit, while it lives; then puts back
// what was there.
struct EnvSet {
  EnvSet(const char* name, const std::string& value) : name(name) {
    if (const char* v = getenv(name)) was = v;
    setenv(name, value.c_str(), 1);
  }
  ~EnvSet() { was ? setenv(name, was->c_str(), 1) : unsetenv(name); }
  const char* name;
  std::optional<std::string> was;
};

// A fixture whose tests each start from a freshly powered-on instrument with the default configuration.
struct FreshSim : ::testing::Test {
  void SetUp() override { simctl({"reset"}); }
};

// The lines that a trace file gained since mark().
class Trace {
public:
  Trace() { mark(); }
  void mark();
  std::vector<std::string> lines() const;
  // Lines that contain every one of the given texts.
  std::vector<std::string> grep(const std::string& a, const std::string& b = "", const std::string& c = "") const;

private:
  size_t offset = 0;
};
