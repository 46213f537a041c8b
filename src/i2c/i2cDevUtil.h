#pragma once
#include <semaphore.h>

#include <source_location>
#include <string>

#include "i2cDevMap.h"

// Scoped access to a named I2C device: construction takes the program-wide
// semaphore "diagSem", opens the device's adapter, selects its multiplexer
// path through that one descriptor and sets the device's address;
// destruction closes it and gives the semaphore back.
//
// An unknown name is refused before the semaphore is taken. An acquisition
// that fails after taking it (the adapter cannot be opened, a multiplexer does
// not take or hold its control byte, the address is refused) closes what it
// opened and gives the semaphore back before it returns: nothing is held
// between commands, and an idle shell never keeps another process waiting.
// Accessors nest in one thread (the inner one goes on without waiting).
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
  bool taken = false;  // this accessor holds the semaphore

private:
  void reportMissing(const std::string& target) const;
};
