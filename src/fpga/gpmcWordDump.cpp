#include "gpmcWordDump.h"

#include "log.h"

void GpmcWordDump::add(unsigned long offset, unsigned short word) {
  if (n == 0)
    log(LOG_TERM, "%04lx: %04x", offset, word);
  else if (n < 7)
    log(LOG_TERM, "%04x", word);
  words[n++] = word;
  if (n < 8) return;
  char text[17];
  for (int i = 0; i < 16; ++i) {
    unsigned char c = static_cast<unsigned char>(i % 2 ? words[i / 2] >> 8 : words[i / 2] & 0xff);
    text[i] = c < 0x20 || c > 0x7e ? '.' : static_cast<char>(c);
  }
  text[16] = '\0';
  log(LOG_TERM, "%04x %s\n", word, text);
  n = 0;
}

void GpmcWordDump::finish() { log(LOG_TERM, "\n"); }
