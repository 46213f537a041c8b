#pragma once
#include <algorithm>
#include <functional>
#include <string>

#include "diagStatus.h"

// Log flags: 1 terminal, 2 system log, 4 pulse of the FPGA trigger.
constexpr unsigned long LOG_TERM = 1;
constexpr unsigned long LOG_SYS = 2;
constexpr unsigned long LOG_TRIG = 4;

// The one output call. The format is the program's own and is formatted once
// with the arguments: a text that comes from outside (a name, a file's line,
// an operator's answer) is always an argument, and prints as it is, '%' and all.
// A message is cut at 511 characters; callers keep theirs far shorter.
E_STATUS log(unsigned long flags, const char* fmt, ...) __attribute__((format(printf, 2, 3)));
// A text that is data rather than a message (a value read from a file), printed
// whole whatever its length, as log() prints to the same places.
void logText(unsigned long flags, const std::string& text);
E_STATUS setLogFlag(unsigned long flags, bool on);
E_STATUS logOpen();
int insertTS(char* str);

// The program's log as the board holds it: while it lives, flag 4 of log()
// pulses the FPGA trigger through the callable it was made with (the board,
// which owns the FPGA, makes it so). Without one, flag 4 pulses nothing.
class Log {
public:
  explicit Log(std::function<void()> triggerPulse);
  ~Log();
  Log(const Log&) = delete;
  Log& operator=(const Log&) = delete;
  void pulse() const;

private:
  std::function<void()> triggerPulse;
};

// Source file name without directory and extension, for the error-report prefix.
const char* srcName(const char* path);
// The plain name of a function, as __func__ gives it, from the signature the
// compiler reports for it (std::source_location::function_name), for the
// error-report prefix of a caller's place.
std::string fnName(const char* signature);

// "file %s, line %d, function %s - " followed by the message.
#define LOGERR(flags, fmt, ...) \
  log((flags), "file %s, line %d, function %s - " fmt, srcName(__FILE__), __LINE__, __func__, ##__VA_ARGS__)
#define LOGERR_FN(flags, fn, fmt, ...) \
  log((flags), "file %s, line %d, function %s - " fmt, srcName(__FILE__), __LINE__, (fn), ##__VA_ARGS__)
// The second line of a failed system call: the system's error text and number.
// The caller saves errno before its first message, since printing may change it.
void logErrno(unsigned long flags, int err);
// A byte as every dump's text column shows it: printable ASCII as it is, any
// other byte as '.', so that no byte read from a chip can move the cursor.
inline char shownChar(unsigned char c) { return c >= 0x20 && c <= 0x7E ? static_cast<char>(c) : '.'; }
// The dots of a register dump's line from the used width to the value's
// column; none when the name already reaches it.
inline std::string dotsTo(size_t used, size_t column) { return std::string(column - std::min(used, column), '.'); }
