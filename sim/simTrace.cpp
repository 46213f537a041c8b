#include "simTrace.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "lineSink.h"

namespace sim {

namespace {
std::mutex traceMutex;
bool opened = false;
LineSink sink;
std::atomic<bool> live{false};  // the sink is open: read without the mutex

void put(const char* fmt, va_list ap) {
  char line[1024];
  int n = vsnprintf(line, sizeof line - 1, fmt, ap);
  if (n < 0) return;
  if (n > static_cast<int>(sizeof line) - 2) n = sizeof line - 2;
  line[n++] = '\n';
  sink.put(line, static_cast<size_t>(n));
  live = sink.isOpen();
}
}  // namespace

void traceOpen() {
  std::lock_guard<std::mutex> g(traceMutex);
  if (opened) return;
  opened = true;
  const char* p = getenv("DIAG_SIM_TRACE");
  if (p && *p) live = sink.open(p, "diag-sim", "the trace", true);
}

bool tracing() { return live; }

void trace(const char* fmt, ...) {
  std::lock_guard<std::mutex> g(traceMutex);
  if (!sink.isOpen()) return;
  va_list ap;
  va_start(ap, fmt);
  put(fmt, ap);
  va_end(ap);
}

void traceLine(const std::string& line) {
  std::lock_guard<std::mutex> g(traceMutex);
  if (sink.isOpen()) sink.put(line + "\n");
  live = sink.isOpen();
}

}  // namespace sim
