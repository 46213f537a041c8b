#include "pfc.h"

#include "log.h"

E_STATUS Pfc::getData(int packetType) {
  LOGERR(LOG_TERM, "PFC link is not part of this build: no status packet %d\n", packetType);
  return FAILURE;
}

E_STATUS Pfc::POSTTst(int, int) {
  LOGERR(LOG_TERM, "PFC link is not part of this build: power-on test not run\n");
  return FAILURE;
}
