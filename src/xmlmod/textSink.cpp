#include "textSink.h"

#include <cstdarg>
#include <cstdio>
#include <vector>

#include "diagStatus.h"

namespace {
std::string vstrf(const char* fmt, va_list ap) {
  va_list again;
  va_copy(again, ap);
  int n = vsnprintf(nullptr, 0, fmt, ap);
  std::vector<char> buf(n > 0 ? n + 1 : 1);
  vsnprintf(buf.data(), buf.size(), fmt, again);
  va_end(again);
  return buf.data();
}
}  // namespace

std::string strf(const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  std::string s = vstrf(fmt, ap);
  va_end(ap);
  return s;
}

void say(const S_TEXT_SINK* sink, const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  sink->line(sink->ctx, false, vstrf(fmt, ap).c_str());
  va_end(ap);
}

int fail(const S_TEXT_SINK* sink, const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  sink->line(sink->ctx, true, vstrf(fmt, ap).c_str());
  va_end(ap);
  return FAILURE;
}
