#pragma once
#include "diagStatus.h"

// Ring of the last 20 command lines.
class CmdHistory {
public:
  static constexpr int SLOTS = 20;
  static constexpr int LINE = 200;
  E_STATUS put(const char* line);
  // Slot of the most recently stored line, or -1 when nothing was stored.
  int lastSlot() const;
  const char* slot(int n) const { return lines[n]; }
  int nextSlot() const { return cmdHistoryNdx; }
  bool filled() const { return historyFilled; }
  void clear();

private:
  char lines[SLOTS][LINE] = {};
  int cmdHistoryNdx = 0;
  int prevCmdNdx = -1;
  bool historyFilled = false;
};

