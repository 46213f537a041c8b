#include <cstdlib>
#include <string>

#include "board.h"

namespace {
// The words after the command word are the background command's own, "-h" among them.
const OptDecl command = rawRestWords("command").says("bg <command> - run a command in the background");
const OptDecl* const opts[] = {&command};

// Runs the rest of the line detached, under the system shell, its words as
// they were typed ('%' included: no word is ever taken as a format). A command
// that does not fit the 200 characters of its text (with the "&" and the end)
// is refused, not cut: cut, it would run something else than was asked.
E_STATUS bg(const Args& args, Board&) {
  constexpr size_t LIMIT = 198;
  std::string text;
  for (int i = 1; i < args.count(); ++i) {
    text += args.at(i);
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
}  // namespace

constinit const CmdDecl bgCmd = {.help = "Background command executor", .args = {.name = "bg", .opts = opts}, .handler = bg};
DIAG_COMMAND(bgCmd);
