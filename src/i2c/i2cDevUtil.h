#pragma once
#include <semaphore.h>

#include <source_location>
#include <string>

#include "i2cDevMap.h"

// Scoped access to a named I2C device: construction takes the program-wide
// semaphore "diagSem", selects the device's multiplexer path and opens the
// device; destruction closes it and gives the semaphore back.
//
// An acquisition that fails after taking the semaphore (unknown name, path or
// open failure) returns with the semaphore still held. A process never waits
// for a semaphore it holds itself: the next accessor in the same process goes
// on, and its destructor releases the semaphore, so a failed lookup cannot hang
// the rest of a script; other processes wait until this one succeeds or ends.
class I2cDevUtil : public DiagObject {
public:
  // With callrInfo a missing device is reported at the caller's place
  // (source file, line and function), else at this accessor's own.
  I2cDevUtil(std::string target, bool callrInfo, bool unused,
             std::source_location caller = std::source_location::current());
  ~I2cDevUtil();
  I2cDevUtil(const I2cDevUtil&) = delete;
  I2cDevUtil& operator=(const I2cDevUtil&) = delete;

  // sema4 is not consulted: the semaphore is always taken.
  E_STATUS getI2CDevItr(std::string target, bool setMuxes, bool sema4, bool verbose);
  E_STATUS stat() const { return status; }
  I2cDevNameMap::iterator getItr() const { return itr; }

  std::string tgt;
  unsigned char setup = 0;
  E_STATUS status = INVALID_STATUS;
  sem_t* pMutex = nullptr;
  I2cDevNameMap::iterator itr;
  std::string file;
  int line = 0;
  std::string fxn;
  bool callrInfo = false;

private:
  void reportMissing(const std::string& target) const;
};
