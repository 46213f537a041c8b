#include "cmdHistory.h"

#include <cstring>

E_STATUS CmdHistory::put(const char* line) {
  if (!line) return NULL_POINTER;
  // Only consecutive duplicates are suppressed.
  if (prevCmdNdx >= 0 && strcmp(line, lines[prevCmdNdx]) == 0) return SUCCESS;
  if (line[0] == '\0') return INVALID_STRING;
  strncpy(lines[cmdHistoryNdx], line, LINE - 1);
  lines[cmdHistoryNdx][LINE - 1] = '\0';
  prevCmdNdx = cmdHistoryNdx;
  if (++cmdHistoryNdx >= SLOTS) {
    cmdHistoryNdx = 0;
    historyFilled = true;
  }
  return SUCCESS;
}

int CmdHistory::lastSlot() const {
  if (cmdHistoryNdx > 0) return cmdHistoryNdx - 1;
  return historyFilled ? SLOTS - 1 : -1;
}

void CmdHistory::clear() { *this = CmdHistory(); }

