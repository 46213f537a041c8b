#include <cstdio>
#include <cstring>
#include <vector>

#include "board.h"
#include "cmdLine.h"
#include "dcli.h"
#include "progOpts.h"
#include "termState.h"

int main(int argc, char** argv) {
  const ProgOpts opts = scanProgOpts(argc, argv);
  if (opts.unknown) {
    fprintf(stderr, "unknown option %s (--help lists the options)\n", opts.unknown);
    return 2;
  }
  if (opts.help) {
    progUsage(argv[0]);
    return 0;
  }
  saveTermState();
  // The one board of the program; what runs a command line for the lower
  // layers (the front panel's old way) is the shell's dispatcher on it.
  Board board([&board](const std::string& line) { execCmd(line, board); });
  if (opts.version) {
    execCmd("version", board);
    return 0;
  }
  // The command line is the program's name and the command words, as if no option had been given. The
  // name without its folder: the room left for the command words does not depend on where it is installed.
  std::vector<char*> words = {strrchr(argv[0], '/') ? strrchr(argv[0], '/') + 1 : argv[0]};
  words.insert(words.end(), argv + opts.first, argv + argc);
  Shell shell(board);
  shell.setCmdLine(static_cast<int>(words.size()), words.data());
  E_STATUS status = shell.DCLI();
  const bool oneShot = words.size() > 1;
  return opts.exitStatus && oneShot ? exitCode(status) : 0;
}
