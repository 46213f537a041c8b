#include "rev.h"

#include <cstdlib>

#include "kernel.h"

int RevCache::rev() {
  if (!known) Rev().getRev(&value);
  known = true;
  return value;
}

E_STATUS Rev::getRev(int* pRev, bool* fromFile) {
  char text[32];
  *pRev = DEFAULT_REV;
  if (fromFile) *fromFile = false;
  if (kernel().readFile(FILE_NAME, text, sizeof text) <= 0) return SUCCESS;
  char* end = nullptr;
  long v = strtol(text, &end, 10);
  if (end == text || v < 0 || v >= 1000) return SUCCESS;
  *pRev = static_cast<int>(v);
  if (fromFile) *fromFile = true;
  return SUCCESS;
}
