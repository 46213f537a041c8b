#include "progOpts.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {
const char* const USAGE =
    "usage: %s [--exit-status] [COMMAND [ARGUMENT...]]\n"
    "       %s [--exit-status] file SCRIPT\n"
    "       %s --help | --version\n"
    "\n"
    "Without a command: the interactive prompt \"diag> \" (help lists the commands, q leaves).\n"
    "With one: runs it once as one command line; file SCRIPT runs a script, one command line a line.\n"
    "\n"
    "  --exit-status  exit 0 when the command (every line of the script) succeeded, 1 when one\n"
    "                 failed, 2 for an unknown command or a line refused; without it, always 0\n"
    "  --help         this text\n"
    "  --version      the version of the program\n"
    "\n"
    "Environment:\n"
    "  DIAG_EXIT_STATUS=1  as --exit-status\n"
    "  DIAG_SIM_STATE      diag-sim only: the simulated instrument's state file\n"
    "                      (default /tmp/diag-sim-<uid>.state)\n"
    "  DIAG_SIM_TRACE      diag-sim only: a file that every kernel-level access is written to\n"
    "  DIAG_RECORD         a file that every request to the kernel and its answer are written to,\n"
    "                      for diag-replay to replay (it holds what the chips gave: serial numbers too)\n"
    "\n"
    "Documentation: man diag (man diag-sim, man diag-simctl); /usr/share/doc/diag and\n"
    "/usr/share/doc/diag-sim, with a sample production script in their examples folders.\n";
}  // namespace

ProgOpts scanProgOpts(int argc, char** argv) {
  ProgOpts o;
  const char* env = getenv("DIAG_EXIT_STATUS");
  o.exitStatus = env && !strcmp(env, "1");
  for (; o.first < argc && !strncmp(argv[o.first], "--", 2); ++o.first) {
    const char* w = argv[o.first];
    if (!strcmp(w, "--help"))
      o.help = true;
    else if (!strcmp(w, "--version"))
      o.version = true;
    else if (!strcmp(w, "--exit-status"))
      o.exitStatus = true;
    else if (!o.unknown)
      o.unknown = w;
  }
  return o;
}

void progUsage(const char* program) {
  const char* name = strrchr(program, '/') ? strrchr(program, '/') + 1 : program;
  printf(USAGE, name, name, name);
  fflush(stdout);
}

int exitCode(E_STATUS st) {
  switch (st) {
    case SUCCESS:
      return 0;
    case CMD_NOT_FOUND:
    case FXN_NOT_SUPPORTED:
    case BAD_PARAMETER:
    case WRONG_NUM_ARGS:
    case TOO_MANY_ARGS:
    case INVALID_STRING:
      return 2;
    default:
      return 1;
  }
}
