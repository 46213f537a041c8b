#include <cstdlib>
#include <string>

#include "commands.h"
#include "log.h"

namespace {
// Documented, though the command itself never prints it: every word is the background command's.
const char* const usage[] = {"bg <command> - run a command in the background"};
}  // namespace

// Runs the rest of the line detached, under the system shell. A '%' in an
// argument is interpreted as in a format ("%%" gives "%").
E_STATUS bg(int argc, char argv[][ARG_LEN]) {
  constexpr size_t LIMIT = 199;  // the command text lives in 200 characters
  std::string text;
  for (int i = 1; i < argc && text.size() < 198; ++i) {
    text += fmtNoArgs(argv[i]);
    text += ' ';
  }
  if (text.size() > LIMIT) text.resize(LIMIT);
  if (text.size() < LIMIT) text += '&';
  ::system(text.c_str());
  return SUCCESS;
}

constinit const CmdDecl bgCmd = {
    .help = "Background command executor", .args = {.name = "bg", .usage = usage}, .handler = bg};
