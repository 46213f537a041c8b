#pragma once
#include <cstddef>
#include <string>

// A file that lines are written to as they happen, each with one write, so
// that lines of several processes never mix and a process that dies loses
// none it wrote. Such a file must never stop the process: one that cannot be
// written (a directory, a read-only place, a FIFO that nothing reads, or whose
// reader stops reading for a second or goes away) is reported once on standard
// error, "WHO: cannot write WHAT to PATH (why); going on without it", and
// dropped. The simulator's trace and a recording of the program use it.
class LineSink {
public:
  // Opens path for writing, appending (shared by processes) or afresh.
  bool open(const char* path, const char* who, const char* what, bool append);
  bool isOpen() const { return fd >= 0; }
  // Writes one line; it must end with its newline. False once the file is dropped.
  bool put(const char* line, size_t n);
  bool put(const std::string& line) { return put(line.data(), line.size()); }

private:
  void drop(const char* why);

  int fd = -1;
  bool pipeLike = false;  // a FIFO or a socket: its reader may stall or go away
  std::string path, who, what;
};
