#pragma once
#include <sys/types.h>
#include <string>
#include <vector>

// A built program in a pseudo-terminal, as a person at a serial console sees
// it: raw keys in, screen text out. Waits are bounded by a timeout.
class PtySession {
public:
  explicit PtySession(const std::vector<std::string>& argv);
  ~PtySession();
  PtySession(const PtySession&) = delete;
  PtySession& operator=(const PtySession&) = delete;

  static constexpr const char* TAB = "\t";
  static constexpr const char* ENTER = "\r";
  static constexpr const char* BACKSPACE = "\x7f";
  static constexpr const char* ESC = "\x1b";

  void send(const std::string& keys);
  // Sends the keys one at a time, each after the program has taken the previous one.
  void type(const std::string& keys);
  // Waits until the output since the last mark contains text; false on timeout.
  bool waitFor(const std::string& text, int timeoutMs = 10000);
  // Output since the last mark, raw; mark() starts a new stretch.
  std::string since() const;
  void mark();
  // The screen as a terminal renders it (carriage return, line clear, backspace).
  std::vector<std::string> screen() const;
  // The line the cursor is on.
  std::string currentLine() const;
  // Waits until the cursor's line reads exactly text; false on timeout.
  bool waitForLine(const std::string& text, int timeoutMs = 10000);
  // Waits for the program to end; its exit code, or -1 on timeout.
  int waitExit(int timeoutMs = 10000);

private:
  void pump(int timeoutMs);
  int master = -1;
  pid_t pid = -1;
  bool exited = false;
  int exitCode = -1;
  std::string raw;
  size_t markPos = 0;
};
