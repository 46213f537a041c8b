// What this instrument is, on one screen: the host, the board revision, the
// FPGA's words, the installed diagnostics and every board identity this host
// reaches.
#include <string>

#include "board.h"
#include "boardIdLayout.h"
#include "gpmcRegs.h"
#include "i2cEeprom.h"
#include "rev.h"
#include "revision.h"
#include "xmlModuleLoad.h"

namespace {
const char* const head[] = {
    "rev - what this instrument is: host, board revision, FPGA words, diagnostics and every board identity"};

// The module's one line for an identity, kept for the EEPROM's row.
struct LineSink : S_TEXT_SINK {
  std::string text;
  LineSink() : S_TEXT_SINK{this, [](void* c, bool, const char* t) { static_cast<LineSink*>(c)->text = t; }} {}
};

void showFpga(Board& board) {
  GpmcDev* reg = board.fpga.find("reg");
  unsigned short id = 0, rev = 0;
  if (reg && reg->regRd(&id, GPMC_DEV_ID) == SUCCESS && reg->regRd(&rev, GPMC_REV) == SUCCESS)
    log(LOG_TERM, "%-16s device id 0x%04x, revision 0x%04x\n", "FPGA", id, rev);
  else
    log(LOG_TERM, "%-16s not read\n", "FPGA");
}

// One row an EEPROM, whatever it holds: its identity, or what keeps it from
// being shown. False when it holds no good identity.
bool showIdentity(Board& board, const S_XML_MODULE* m, const std::string& name) {
  unsigned char img[boardId::IMAGE_BYTES];
  LineSink line;
  bool ok = I2cEeprom(board.i2c, name).rdIdentity(img, true) == SUCCESS;
  if (!ok)
    line.text = "does not answer";
  else if (!m)
    line.text = "identity not decoded: the XML module cannot be opened";
  else
    ok = m->idDecode(img, sizeof img, ID_LINE, &line) == SUCCESS;
  log(LOG_TERM, "  %-12s %s\n", name.c_str(), line.text.c_str());
  return ok;
}

E_STATUS rev(const Args&, Board& board) {
  log(LOG_TERM, "%-16s %s\n", "host", board.i2c.boardLabel().c_str());
  int boardRev = 0;
  bool fromFile = false;
  Rev().getRev(&boardRev, &fromFile);
  log(LOG_TERM, "%-16s %d (%s %s)\n", "board revision", boardRev, fromFile ? "from" : "assumed: no number in",
      Rev::FILE_NAME);
  showFpga(board);
  Revision diags;
  if (diags.found)
    log(LOG_TERM, "%-16s build %d, branch commit %d, merged from %s (%s)\n", "diagnostics", diags.build,
        diags.branchCommit, diags.mergedBranch.c_str(), REVISION_FILE);
  else
    log(LOG_TERM, "%-16s no %s\n", "diagnostics", REVISION_FILE);
  std::vector<std::string> names = I2cEeprom::names(board.i2c);
  log(LOG_TERM, "board EEPROMs%s\n", names.empty() ? ": none on this host" : "");
  const S_XML_MODULE* m = names.empty() ? nullptr : xmlModule("rev");
  bool allOk = true;
  for (const std::string& n : names) allOk = showIdentity(board, m, n) && allOk;
  return allOk ? SUCCESS : FAILURE;
}
}  // namespace

constinit const CmdDecl revCmd = {.help = "Print system revision", .args = {.name = "rev", .head = head}, .handler = rev};
DIAG_COMMAND(revCmd);
