#include "board.h"
#include "revision.h"

namespace {
// The build's date and time, then the installed diagnostics' revision file where there is one.
E_STATUS version(const Args&, Board&) {
  log(LOG_TERM, "Diagnostics Build: %s %s\n", __DATE__, __TIME__);
  Revision rev;
  if (rev.found) rev.dispRev();
  return SUCCESS;
}
}  // namespace

constinit const CmdDecl versionCmd = {
    .help = "Show the version of these diagnostics", .args = {.name = "version"}, .handler = version};
DIAG_COMMAND(versionCmd);
