#pragma once
#include <string>
#include <vector>

// Every test process works on its own simulated instrument: main() points
// DIAG_SIM_STATE and DIAG_SIM_TRACE at files in a fresh directory, which the
// programs a test starts inherit.
const std::string& testDir();
std::string testPath(const std::string& name);
std::string readFile(const std::string& path);
void writeFile(const std::string& path, const std::string& text);

// Mounts a /dev/shm of this process's own (and of the programs it starts), so
// that the named semaphores are private to it; false where that is refused
// (it needs root). main() does it for every test process: tests may hold or
// leak a semaphore, and the tests of the 32-bit cross build run beside 64-bit
// programs on one machine, where a glibc semaphore that one of them created
// reads as taken to the other.
bool mountPrivateShm();

// The simulator's control surface, in-process (same state as the started programs).
std::string simctl(const std::vector<std::string>& args);

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
