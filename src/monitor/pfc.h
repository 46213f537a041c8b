#pragma once
#include "diagStatus.h"

// The power-factor-correction unit, reached over its serial link. The link is
// not part of this build: every transfer says so and fails, and the unit
// reads as not okay.
class Pfc {
public:
  E_STATUS getData(int packetType);
  E_STATUS POSTTst(int stage, int retries);
  bool getOKIn() const { return okIn; }
  bool getOK() const { return ok; }

private:
  bool okIn = false;
  bool ok = false;
};
