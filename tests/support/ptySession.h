#pragma once
#include <sys/types.h>
#include <termios.h>

#include <functional>
#include <string>
#include <vector>

// A built program in a pseudo-terminal, as a person at a serial console sees
// it: raw keys in, screen text out. Waits are bounded by a timeout.
class PtySession {
public:
  struct Options {
    const termios* modes = nullptr;  // the terminal's modes at start; the pty's defaults when null
    // Runs the program as the foreground job of a small job-control shell, as
    // at a login console: Ctrl-Z then stops it (see waitJob).
    bool jobControl = false;
    // Under job control: the shell takes the terminal back when the job stops, as a login shell does, so that
    // the job is continued in the background.
    bool takeBackOnStop = false;
  };
  explicit PtySession(const std::vector<std::string>& argv) : PtySession(argv, Options()) {}
  PtySession(const std::vector<std::string>& argv, const Options& opts);
  ~PtySession();
  PtySession(const PtySession&) = delete;
  PtySession& operator=(const PtySession&) = delete;

  static constexpr const char* ENTER = "\r";

  void send(const std::string& keys);
  // Sends the keys one at a time, each after the program has taken the previous one.
  void type(const std::string& keys);
  // Waits until the output since the last mark contains text; false on timeout.
  bool waitFor(const std::string& text, int timeoutMs = 10000);
  // Output since the last mark, raw; mark() starts a new stretch.
  std::string since() const;
  void mark();
  // Waits for the program to end; its exit code, or -1 on timeout or when a signal ended it.
  int waitExit(int timeoutMs = 10000);
  // After waitExit: the signal that ended the program, 0 when it exited.
  int endSignal() const { return endSig; }

  // The terminal's modes now, as the program sees them.
  termios modes() const;
  // Waits until the terminal is in canonical mode (or, with false, out of it).
  bool waitCanonical(bool canonical, int timeoutMs = 10000);
  // The program's process (under job control the job, not its shell).
  pid_t programPid() const { return jobPid > 0 ? jobPid : pid; }
  // Under job control: the shell brings the job to the foreground and continues it, as its fg does.
  void foreground();
  // Under job control: waits for the shell to report the job "stopped" or "continued".
  bool waitJob(const std::string& event, int timeoutMs = 10000);

private:
  void pump(int timeoutMs);
  bool waitUntil(const std::function<bool()>& done, int timeoutMs);
  int master = -1;
  pid_t pid = -1;
  pid_t jobPid = -1;
  int events = -1;  // the job-control shell's reports
  std::string eventText;  // the reports not yet waited for
  bool exited = false;
  int exitCode = -1;
  int endSig = 0;
  std::string raw;
  size_t markPos = 0;
};
