#include "gpmcFileDump.h"

#include <string>

namespace {
// Words 0-3 or 4-7 of a group: "%04x", " %04x", "  %04x", " %04x"; then,
// unless in sincorr format, the line read back as two 32-bit values.
void hexHalf(FILE* f, const unsigned short* w, unsigned long n, bool sincorr) {
  static const char* const pieces[] = {"%04x", " %04x", "  %04x", " %04x"};
  std::string line;
  char piece[16];
  for (unsigned long k = 0; k < n; ++k) {
    snprintf(piece, sizeof piece, pieces[k], w[k]);
    line += piece;
  }
  fprintf(f, "%s\n", line.c_str());
  unsigned long a, b, c, d;
  if (sincorr || n < 4 || sscanf(line.c_str(), "%04lx %04lx  %04lx %04lx", &a, &b, &c, &d) != 4) return;
  unsigned long v1 = a * 65536 + b, v2 = c * 65536 + d;
  fprintf(f, "    %ld %ld     0x%08lx 0x%08lx \n", static_cast<long>(v1), static_cast<long>(v2), v1, v2);
}
}  // namespace

long gpmcSample24(unsigned short first, unsigned short second) {
  long v = (static_cast<long>(second) << 8) | (first >> 8);
  return v & 0x800000 ? v - 0x1000000 : v;
}

void gpmcDumpBlock(FILE* f, E_GPMC_DUMP kind, const unsigned short* w, unsigned long n, bool sincorr) {
  switch (kind) {
    case GPMC_DUMP_DEC:
      for (unsigned long i = 0; i < n; ++i) fprintf(f, "%d\n", w[i]);
      break;
    case GPMC_DUMP_BIN:
      fwrite(w, sizeof *w, n, f);
      break;
    case GPMC_DUMP_SINE1:
      // Channel 1 holds words 0-1 and 4-5 of each group of eight.
      for (unsigned long i = 0; i + 1 < n; i += 4) fprintf(f, "%ld\n", gpmcSample24(w[i], w[i + 1]));
      break;
    case GPMC_DUMP_HEX:
      for (unsigned long i = 0; i < n; i += 4) hexHalf(f, w + i, n - i < 4 ? n - i : 4, sincorr);
      break;
    default:
      break;
  }
}
