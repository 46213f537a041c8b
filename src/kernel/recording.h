#pragma once
#include <string>
#include <utility>
#include <vector>

// A recording as written by recordKernel.h, read back: by diag-replay, and by
// the simulator to set its chips to what the recording read from them.
struct RecLine {
  unsigned long number = 0;
  std::string request;  // the words before " -> "
  std::string answer;   // the words after it; "" when the line has none
};

struct Recording {
  std::string version;                                   // "1.0 built Nov 25 2026 18:40:00"
  std::vector<std::string> args;                         // the command line, the program's name first
  std::vector<std::pair<std::string, std::string>> env;  // the environment the program reads
  std::string start;                                     // "2026-11-25 18:40:12.123456 +0100"
  std::vector<RecLine> lines;

  // The zone of the start time, "+0100"; "" when the head has none.
  std::string zone() const;
};

// Reads a recording; false, with why it is not one (naming the line), when it cannot be read.
bool readRecording(const std::string& path, Recording* rec, std::string* why);
