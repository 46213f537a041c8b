#include <cstdlib>
#include <cstring>
#include <string>

#include "commands.h"
#include "log.h"

E_STATUS system(int argc, char argv[][ARG_LEN]) {
  for (int i = 1; i < argc; ++i) {
    if (!strcmp(argv[i], "-h")) {
      log(LOG_TERM, "system <program_name arg1 arg2...>\n");
      return SUCCESS;
    }
  }
  if (argc >= MAX_ARGS) return TOO_MANY_ARGS;
  std::string text;
  for (int i = 1; i < argc; ++i) {
    if (i > 1) text += ' ';
    text += argv[i];
  }
  return ::system(text.c_str()) < 0 ? FAILURE : SUCCESS;
}
