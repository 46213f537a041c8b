#include <cstdio>
#include <cstring>
#include <string>

#include "commands.h"
#include "log.h"

namespace {
char UTPStr[200];

void usage() {
  log(LOG_TERM, "- pause for a UTP action\n");
  log(LOG_TERM, "-f <filename>\n");
  log(LOG_TERM, "-m <\"message to stdout\">\n");
}

// Reads the operator's answer, up to and including the newline.
void readAnswer() {
  size_t n = 0;
  while (n < sizeof UTPStr - 1) {
    int c = fgetc(stdin);
    if (c == EOF) break;
    UTPStr[n++] = static_cast<char>(c);
    if (c == '\n') break;
  }
  UTPStr[n] = '\0';
}
}  // namespace

E_STATUS utp(int argc, char argv[][ARG_LEN]) {
  FILE* out = nullptr;
  std::string msg;
  bool haveMsg = false;
  for (int i = 1; i < argc; ++i) {
    if (!strcmp(argv[i], "-h")) {
      usage();
      if (out) fclose(out);
      return SUCCESS;
    }
    if (!strcmp(argv[i], "-f") && i + 1 < argc) {
      if (out) fclose(out);
      out = fopen(argv[++i], "a+");
    } else if (!strcmp(argv[i], "-m") && i + 1 < argc && argv[i + 1][0] != '-') {
      haveMsg = true;
      msg = argv[++i];
      // The words up to the next option; the blank before that option stays.
      while (i + 1 < argc) {
        msg += ' ';
        if (argv[i + 1][0] == '-') break;
        msg += argv[++i];
      }
    }
  }
  log(LOG_TERM, "%s", escPct(haveMsg ? msg : "...").c_str());
  readAnswer();
  if (out) {
    fputs(fmtNoArgs(UTPStr).c_str(), out);
    fclose(out);
  } else {
    logText(LOG_TERM, UTPStr);
  }
  return SUCCESS;
}
