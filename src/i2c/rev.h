#pragma once
#include "diagStatus.h"

// The board revision, from the one number in /vesta/diags/boardrev.txt. The
// multiplexers changed to PCA9545 switches at revision 3.
class Rev : public DiagObject {
public:
  // Revision assumed when the file is missing or holds no number: the current boards.
  static constexpr int DEFAULT_REV = 3;
  // The first revision with PCA9545 switches in place of the 4-channel muxes.
  static constexpr int FIRST_SWITCH_REV = 3;
  // Always SUCCESS; *pRev is the revision from the file, or DEFAULT_REV.
  E_STATUS getRev(int* pRev);
};
