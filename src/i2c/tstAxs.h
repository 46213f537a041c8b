#pragma once
#include "i2cPath.h"

// A device's access test: holds the path through which the device is reached.
class TstAxs : public DiagObject {
public:
  explicit TstAxs(const I2CPath& path) : path(path) {}
  I2CPath& getPath() { return path; }

private:
  I2CPath path;
};
