#include <cstdlib>
#include <string>

#include "commands.h"
#include "log.h"

namespace {
// Documented, though the command itself never prints it: every word is the background command's.
const char* const usage[] = {"bg <command> - run a command in the background"};
}  // namespace

// Runs the rest of the line detached, under the system shell, its words as
// they were typed ('%' included: no word is ever taken as a format). A command that
// does not fit the 200 characters of its text (with the "&" and the end) is
// refused, not cut: cut, it would run something else than was asked.
E_STATUS bg(int argc, char argv[][ARG_LEN]) {
  constexpr size_t LIMIT = 198;
  std::string text;
  for (int i = 1; i < argc; ++i) {
    text += argv[i];
    text += ' ';
  }
  if (text.size() > LIMIT) {
    log(LOG_TERM, "the background command is %zu characters long: at most %zu are taken; nothing was run\n",
        text.size(), LIMIT);
    return INVALID_STRING;
  }
  ::system((text + '&').c_str());
  return SUCCESS;
}

constinit const CmdDecl bgCmd = {
    .help = "Background command executor", .args = {.name = "bg", .usage = usage}, .handler = bg};
