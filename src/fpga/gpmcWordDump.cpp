#include "gpmcWordDump.h"

#include <cstdio>

#include "log.h"

void GpmcWordDump::add(unsigned long offset, std::span<const unsigned short> block) {
  // An offset, eight words and their sixteen bytes as text: well within the line.
  char line[96];
  size_t len = 0;
  for (size_t k = 0; k < block.size(); ++k) {
    if (n == 0) len += snprintf(line + len, sizeof line - len, "%04lx: ", offset + 2 * k);
    len += snprintf(line + len, sizeof line - len, "%04x", block[k]);
    words[n++] = block[k];
    if (n < WORDS_A_LINE) continue;
    line[len++] = ' ';
    for (int i = 0; i < 2 * WORDS_A_LINE; ++i) {
      unsigned char c = static_cast<unsigned char>(i % 2 ? words[i / 2] >> 8 : words[i / 2] & 0xff);
      line[len++] = shownChar(c);
    }
    line[len++] = '\n';
    log(LOG_TERM, "%.*s", static_cast<int>(len), line);
    len = 0;
    n = 0;
  }
  if (len) log(LOG_TERM, "%.*s", static_cast<int>(len), line);
}

void GpmcWordDump::finish() { log(LOG_TERM, "\n"); }
