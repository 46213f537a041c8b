#include "i2cModel.h"

#include <cerrno>

#include "simState.h"

namespace sim {
void resetI2c(SimState&) {}
bool i2cSourcesOkay(SimState&) { return true; }
bool i2cAdapterExists(const SimState&, int adapter) { return adapter >= 0 && adapter <= 2; }
int i2cIoctl(SimState&, I2cHandle&, unsigned long, void*) { return -ENOTTY; }
ssize_t i2cRead(SimState&, I2cHandle&, void*, size_t) { return -EREMOTEIO; }
ssize_t i2cWrite(SimState&, I2cHandle&, const void*, size_t) { return -EREMOTEIO; }
}  // namespace sim
