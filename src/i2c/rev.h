#pragma once
#include "diagStatus.h"

// The board revision, from the one number in /vesta/diags/boardrev.txt. The
// multiplexers changed to PCA9545 switches at revision 3.
class Rev {
public:
  // Revision assumed when the file is missing or holds no number: the current boards.
  static constexpr int DEFAULT_REV = 3;
  // The first revision with PCA9545 switches in place of the 4-channel muxes.
  static constexpr int FIRST_SWITCH_REV = 3;
  // Always SUCCESS; *pRev is the revision from the file, or DEFAULT_REV
  // (*fromFile, where asked, says which).
  E_STATUS getRev(int* pRev, bool* fromFile = nullptr);
  static constexpr const char* FILE_NAME = "/vesta/diags/boardrev.txt";
};

// The board revision as one command sees it: read from the file the first
// time the command needs it, then kept until the next command begins
// (forget), so that a file changed between two commands is seen by the
// second while no access reads it again.
class RevCache {
public:
  int rev();
  bool switches() { return rev() >= Rev::FIRST_SWITCH_REV; }
  void forget() { known = false; }

private:
  bool known = false;
  int value = Rev::DEFAULT_REV;
};
