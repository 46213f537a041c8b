#include "board.h"

// Scripts are run by the shell loop itself, never through dispatch: "file" has
// no handler, and dispatched it says it is not connected.
namespace {
const OptDecl script = restWords("filename").says("file <filename> - execute diag script file");
const OptDecl* const opts[] = {&script};
}  // namespace

constinit const CmdDecl fileCmd = {.help = "Run diag script file", .args = {.name = "file", .opts = opts}};
DIAG_COMMAND(fileCmd);
