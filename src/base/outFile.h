#pragma once
#include <cstdio>
#include <source_location>
#include <string>

#include "diagStatus.h"

// A file an operator names for a command to write (an answer, a capture).
// Whatever keeps what was written from being stored (the file cannot be
// opened, a write fails, the disk is full, closing fails) is one line naming
// the file with the system's reason, and FAILURE: an operator must never
// believe a capture was saved when it was not. The line names the calling
// command's place, as its own messages do.
class OutFile {
public:
  OutFile() = default;
  ~OutFile();  // a file still open (a command that failed before its end) is closed without a word
  OutFile(const OutFile&) = delete;
  OutFile& operator=(const OutFile&) = delete;

  using Where = std::source_location;
  E_STATUS open(const std::string& name, const char* mode, Where where = Where::current());
  bool isOpen() const { return f != nullptr; }
  FILE* stream() const { return f; }
  const std::string& name() const { return path; }
  // Hands what was written so far to the system; FAILURE, said once, when a write failed.
  E_STATUS check(Where where = Where::current());
  // Checks and closes; FAILURE when anything written was not stored.
  E_STATUS close(Where where = Where::current());

private:
  E_STATUS fail(const char* what, int err, const Where& where);

  FILE* f = nullptr;
  std::string path;
  bool failed = false;
};
