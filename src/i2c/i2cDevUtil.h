#pragma once
#include <source_location>
#include <string>

#include "i2cDevMap.h"

// Scoped access to a named I2C device of a registry: construction takes the
// registry's semaphore "diagSem", opens the device's adapter, selects its
// multiplexer path through that one descriptor and sets the device's address;
// destruction closes it and gives the semaphore back.
//
// An unknown name is refused before the semaphore is taken. An acquisition
// that fails after taking it (the adapter cannot be opened, a multiplexer does
// not take or hold its control byte, the address is refused) closes what it
// opened and gives the semaphore back before it returns: nothing is held
// between commands, and an idle shell never keeps another process waiting.
// Accessors nest in one thread (the inner one goes on without waiting).
class I2cDevUtil {
public:
  // With callrInfo a missing device is reported at the caller's place
  // (source file, line and function), else at this accessor's own.
  I2cDevUtil(I2cDevMap& devs, std::string target, bool callrInfo,
             std::source_location caller = std::source_location::current());
  ~I2cDevUtil();
  I2cDevUtil(const I2cDevUtil&) = delete;
  I2cDevUtil& operator=(const I2cDevUtil&) = delete;

  E_STATUS getI2CDevItr(const std::string& target, bool setMuxes, bool verbose);
  E_STATUS stat() const { return status; }
  I2cDevNameMap::const_iterator getItr() const { return itr; }
  // The device, once stat() is SUCCESS.
  I2cDev* dev() const { return itr->second; }

private:
  void reportMissing(const std::string& target) const;

  I2cDevMap& devs;
  unsigned char setup = 0;
  bool taken = false;  // this accessor holds the semaphore
  E_STATUS status = INVALID_STATUS;
  I2cDevNameMap::const_iterator itr;
  std::string file;
  int line = 0;
  std::string fxn;
  bool callrInfo = false;
};
