#pragma once
#include <linux/i2c-dev.h>
#include <linux/i2c.h>

#include "i2cModel.h"

namespace sim {
// The I2C_SMBUS request, validated as the kernel's i2c-dev does and carried
// out as the kernel's SMBus emulation does: as one I2C transaction of plain
// messages. Returns 0 or a negative errno; traces the transfer.
int smbusXfer(SimState& s, const I2cHandle& h, struct i2c_smbus_ioctl_data* req);
// The same request as a recording of the program saw it, its data holding
// what the instrument gave back: the chips learn it (i2cLearn). Not traced.
int smbusLearn(SimState& s, const I2cHandle& h, const struct i2c_smbus_ioctl_data& req);
}  // namespace sim
