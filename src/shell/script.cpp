#include <cstring>
#include <string>

#include "cmdLine.h"
#include "dcli.h"
#include "log.h"

namespace {
bool readScriptLine(FILE* f, std::string& line) {
  line.clear();
  int c;
  while ((c = fgetc(f)) != EOF && c != '\n') line += static_cast<char>(c);
  if (c == EOF && line.empty()) return false;
  // Scripts edited on other systems end their lines with CR LF.
  if (!line.empty() && line.back() == '\r') line.pop_back();
  return true;
}

bool isRunnable(const std::string& line) {
  if (line.empty()) return false;
  unsigned char c = static_cast<unsigned char>(line[0]);
  return c > 0x20 && c <= 0x7E && c != '#';
}
}  // namespace

E_STATUS runScript(FILE* f) {
  std::string line;
  char argv[MAX_ARGS][ARG_LEN];
  int argc;
  while (readScriptLine(f, line)) {
    if (!isRunnable(line)) {
      if (line.compare(0, 2, "#!") == 0) log(LOG_TERM, "%s\n", escPct(line).c_str());
      continue;
    }
    if (line == "stop") {
      log(LOG_TERM, "found stop - stopping\n");
      break;
    }
    if (lineParser(&argc, argv, line.c_str()) != SUCCESS) continue;  // refused with its reason; the script goes on
    if (cmdExec(argc, argv) != SUCCESS) {
      LOGERR(LOG_TERM, "cmdExec failed\n");
      break;
    }
  }
  return SUCCESS;
}
