#include "log.h"

#include <sys/time.h>
#include <syslog.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <mutex>

#include <string>

namespace {
// Wider than the 200 characters callers aim for, so that a long message is
// printed whole rather than cut; the time stamp prefix fits in front of it.
constexpr size_t LCL_STR_LEN = 512;
char lclStr[LCL_STR_LEN];
unsigned long lclFlags = 0;
// The ramp and background workers may log while the shell does: one formatter at a time.
std::recursive_mutex logMutex;
const Log* programLog = nullptr;

void pulseTrigger() {
  if (programLog) programLog->pulse();
}

void emit(unsigned long flags, const std::string& text) {
  if (flags & LOG_TERM) {
    fputs(text.c_str(), stdout);
    fflush(stdout);
  }
  if ((flags & LOG_SYS) || (lclFlags & LOG_SYS)) {
    char buf[LCL_STR_LEN + 32];
    snprintf(buf, sizeof buf, "%s", text.c_str());
    insertTS(buf);
    syslog(LOG_NOTICE, "%s", buf);
  }
}
}  // namespace

const char* srcName(const char* path) {
  thread_local char name[64];
  const char* base = strrchr(path, '/');
  base = base ? base + 1 : path;
  snprintf(name, sizeof name, "%s", base);
  if (char* dot = strrchr(name, '.')) *dot = '\0';
  return name;
}

namespace {
// Where the parameter list of a signature starts: the '(' that matches its last ')'. Not the first '(': a
// function of a class within another function or a lambda is named after those ("f()::<lambda()>::Local::g()").
size_t paramsAt(const std::string& s) {
  int depth = 0;
  for (size_t i = s.rfind(')') + 1; i-- > 0;) {
    if (s[i] == ')') ++depth;
    if (s[i] == '(' && --depth == 0) return i;
  }
  return s.size();
}

// The text without the template argument list that ends it.
std::string withoutTrailingArgs(const std::string& s) {
  int depth = 0;
  for (size_t i = s.size(); i-- > 0;) {
    if (s[i] == '>') ++depth;
    if (s[i] == '<' && --depth == 0) return s.substr(0, i);
  }
  return s;
}
}  // namespace

std::string fnName(const char* signature) {
  std::string s = signature ? signature : "";
  s = s.substr(0, s.find(" [with "));  // a template's arguments follow its signature
  if (s.ends_with(">") && s.find("::<lambda") != std::string::npos) return "operator()";
  size_t params = paramsAt(s);
  std::string head = s.substr(0, params);
  if (head.ends_with(">")) head = withoutTrailingArgs(head);
  size_t scope = head.rfind("::"), blank = head.rfind(' ');
  size_t start = std::max(scope == std::string::npos ? 0 : scope + 2, blank == std::string::npos ? 0 : blank + 1);
  return head.substr(start);
}

E_STATUS log(unsigned long flags, const char* fmt, ...) {
  if (flags & LOG_TRIG) pulseTrigger();
  std::lock_guard<std::recursive_mutex> lock(logMutex);
  va_list ap;
  va_start(ap, fmt);
  vsnprintf(lclStr, sizeof lclStr, fmt, ap);
  va_end(ap);
  emit(flags, lclStr);
  return SUCCESS;
}

void logText(unsigned long flags, const std::string& text) {
  if (flags & LOG_TRIG) pulseTrigger();
  std::lock_guard<std::recursive_mutex> lock(logMutex);
  emit(flags, text);
}

void logErrno(unsigned long flags, int err) {
  log(flags, "%s (%d)\n", strerror(err), err);
}

E_STATUS setLogFlag(unsigned long flags, bool on) {
  std::lock_guard<std::recursive_mutex> lock(logMutex);
  if (on)
    lclFlags |= flags;
  else
    lclFlags &= ~flags;
  return SUCCESS;
}

Log::Log(std::function<void()> pulse) : triggerPulse(std::move(pulse)) { programLog = this; }

Log::~Log() {
  if (programLog == this) programLog = nullptr;
}

void Log::pulse() const {
  if (triggerPulse) triggerPulse();
}

E_STATUS logOpen() {
  setlogmask(0x3f);
  openlog("diag", LOG_PID | LOG_CONS | LOG_NDELAY, LOG_LOCAL1);
  return SUCCESS;
}

// The machine's own clock, not the kernel door's: the system log's stamp is not
// what the program shows, and what the semaphores' housekeeping logs depends on
// the machine it runs on, not on the instrument (a replay must not see it).
int insertTS(char* str) {
  struct timeval tv;
  gettimeofday(&tv, nullptr);
  struct tm tmv;
  localtime_r(&tv.tv_sec, &tmv);
  char stamp[30];
  strftime(stamp, sizeof stamp, "%m-%d-%Y  %T.", &tmv);
  char full[64];
  snprintf(full, sizeof full, "%s%ld", stamp, static_cast<long>(tv.tv_usec));
  // The system log adds its own date and time: keep the seconds and microseconds.
  char prefix[72];
  snprintf(prefix, sizeof prefix, "%s ", strlen(full) > 18 ? full + 18 : full);
  char tmp[LCL_STR_LEN + 32];
  int plen = snprintf(tmp, sizeof tmp, "%s%s", prefix, str);
  (void)plen;
  strcpy(str, tmp);
  return static_cast<int>(strlen(prefix));
}
