#include "simTrace.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace sim {

namespace {
int traceFd() {
  static int fd = [] {
    const char* path = getenv("DIAG_SIM_TRACE");
    if (!path || !*path) return -1;
    return ::open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
  }();
  return fd;
}
}  // namespace

bool traceOn() { return traceFd() >= 0; }

void trace(const char* fmt, ...) {
  int fd = traceFd();
  if (fd < 0) return;
  char line[1024];
  va_list ap;
  va_start(ap, fmt);
  int n = vsnprintf(line, sizeof line - 1, fmt, ap);
  va_end(ap);
  if (n < 0) return;
  if (n > static_cast<int>(sizeof line) - 2) n = sizeof line - 2;
  line[n++] = '\n';
  // One write per line: lines of several processes interleave whole.
  ssize_t w = ::write(fd, line, static_cast<size_t>(n));
  (void)w;
}

}  // namespace sim
