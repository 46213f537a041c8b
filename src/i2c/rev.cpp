#include "rev.h"

#include <cstdlib>

#include "kernel.h"

namespace {
const char* const BOARD_REV_FILE = "/vesta/diags/boardrev.txt";
}

int RevCache::rev() {
  if (!known) Rev().getRev(&value);
  known = true;
  return value;
}

E_STATUS Rev::getRev(int* pRev) {
  char text[32];
  *pRev = DEFAULT_REV;
  if (kernel().readFile(BOARD_REV_FILE, text, sizeof text) <= 0) return SUCCESS;
  char* end = nullptr;
  long v = strtol(text, &end, 10);
  if (end != text && v >= 0 && v < 1000) *pRev = static_cast<int>(v);
  return SUCCESS;
}
