#include "numArg.h"

#include <cerrno>
#include <cstdlib>

#include "log.h"

E_NUM_ARG parseNumArg(const char* text, unsigned long min, unsigned long max, unsigned long* value) {
  // strtoull alone would take blanks, a sign and trailing text; a number word has none of them.
  if (!text) return NUM_ARG_NOT_A_NUMBER;
  if (text[0] == '-' && text[1] >= '0' && text[1] <= '9') return NUM_ARG_OUT_OF_RANGE;  // negative
  if (text[0] < '0' || text[0] > '9') return NUM_ARG_NOT_A_NUMBER;
  char* end = nullptr;
  errno = 0;
  unsigned long long v = strtoull(text, &end, 0);
  if (*end != '\0') return NUM_ARG_NOT_A_NUMBER;
  if (errno == ERANGE || v < min || v > max) return NUM_ARG_OUT_OF_RANGE;
  *value = static_cast<unsigned long>(v);
  return NUM_ARG_OK;
}

E_STATUS numArg(const char* who, const char* opt, const char* text, unsigned long min, unsigned long max,
                unsigned long* value) {
  return refuseNumArg(who, opt, text, parseNumArg(text, min, max, value), min, max);
}

E_STATUS refuseNumArg(const char* who, const char* opt, const char* text, E_NUM_ARG why, unsigned long min,
                      unsigned long max) {
  switch (why) {
    case NUM_ARG_OK:
      return SUCCESS;
    case NUM_ARG_NOT_A_NUMBER:
      LOGERR(LOG_TERM, "%s %s: %s is not a number (decimal, 0x hexadecimal or leading-zero octal)\n",
             who, opt, text);
      break;
    case NUM_ARG_OUT_OF_RANGE:
      LOGERR(LOG_TERM, "%s %s: %s is out of range, %lu to %lu\n", who, opt,
             text, min, max);
      break;
  }
  return BAD_PARAMETER;
}
