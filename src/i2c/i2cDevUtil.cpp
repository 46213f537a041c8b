#include "i2cDevUtil.h"

#include "log.h"

I2cDevUtil::I2cDevUtil(I2cDevMap& devs, std::string target, bool callrInfo, std::source_location caller)
    : devs(devs),
      file(caller.file_name()),
      line(static_cast<int>(caller.line())),
      fxn(fnName(caller.function_name())),
      callrInfo(callrInfo) {
  status = getI2CDevItr(target, true, false);
}

I2cDevUtil::~I2cDevUtil() {
  if (setup) status = itr->second->tearDown();
  if (taken) devs.sem.give();
}

E_STATUS I2cDevUtil::getI2CDevItr(const std::string& target, bool setMuxes, bool verbose) {
  itr = devs.lookup(target);
  setup = 0;
  // The lookup is checked before anything is taken or touched.
  if (itr == devs.end()) {
    reportMissing(target);
    return status = ENTRY_NOT_FOUND;
  }
  status = devs.sem.take(true);
  if (status != SUCCESS) return status;
  taken = true;
  I2cDev* dev = itr->second;
  status = dev->openAdapter();
  if (status == SUCCESS && setMuxes) status = dev->path->setMuxes(verbose, dev->fd());
  if (status == SUCCESS) status = dev->setDevAddr();
  if (status == SUCCESS) {
    setup = 1;
    return status;
  }
  // Nothing is kept of a failed acquisition: the device is closed and the
  // semaphore given back at once, so that no other process waits on it.
  dev->tearDown();
  devs.sem.give();
  taken = false;
  return status;
}

// Names the device that is not on this board, from where the caller asked for it when it said so.
void I2cDevUtil::reportMissing(const std::string& target) const {
  if (!callrInfo) {
    LOGERR(LOG_TERM, "I2C device %s not found\n", target.c_str());
    return;
  }
  log(LOG_TERM, "file %s, line %d, function %s - I2C device %s not found\n", srcName(file.c_str()), line, fxn.c_str(),
      target.c_str());
}
