#include "i2cDevUtil.h"

#include "diagMutex.h"
#include "log.h"

I2cDevUtil::I2cDevUtil(std::string target, bool callrInfo, bool, std::source_location caller)
    : file(caller.file_name()),
      line(static_cast<int>(caller.line())),
      fxn(fnName(caller.function_name())),
      callrInfo(callrInfo) {
  status = getI2CDevItr(std::move(target), true, true, false);
}

I2cDevUtil::~I2cDevUtil() {
  if (!setup) return;
  status = itr->second->tearDown();
  semGive(pMutex);
}

E_STATUS I2cDevUtil::getI2CDevItr(std::string target, bool setMuxes, bool, bool verbose) {
  I2cDevNameMap& devs = I2cDevMap::getI2cDevMap()->map;
  itr = devs.find(target);
  setup = 0;
  status = getMutx(&pMutex);
  // A process never waits for the semaphore it holds itself (a failed lookup
  // keeps it): it goes on, and this accessor's destructor gives it back.
  if (status == SUCCESS && !semHeldHere(pMutex)) status = semTake(pMutex);
  // The lookup is checked before a missing entry's path is touched.
  bool found = itr != devs.end();
  if (status == SUCCESS && found && setMuxes) status = itr->second->pTstAxs->getPath().setMuxes(verbose);
  if (status == SUCCESS && found) {
    status = itr->second->setUp();
    if (status == SUCCESS) setup = 1;
  } else {
    if (!found) reportMissing(target);
    status = ENTRY_NOT_FOUND;
  }
  return status;
}

// Names the device that is not on this board, from where the caller asked for it when it said so.
void I2cDevUtil::reportMissing(const std::string& target) const {
  if (!callrInfo) {
    LOGERR(LOG_TERM, "I2C device %s not found\n", escPct(target).c_str());
    return;
  }
  log(LOG_TERM, "file %s, line %d, function %s - I2C device %s not found\n", srcName(file.c_str()), line,
      escPct(fxn).c_str(), escPct(target).c_str());
}
