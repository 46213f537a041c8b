#pragma once
#include <cstddef>
#include <cstdint>

namespace sim {
struct SimState;

// One message of an I2C transaction.
// A read with recvLen takes its length from its first byte, as an SMBus
// block read does: buf holds room for 1 + 32 bytes and len becomes 1 + count.
struct I2cMsg {
  bool read;
  uint8_t* buf;
  size_t len;
  bool recvLen = false;
};

// One I2C transaction to addr on an adapter: the messages joined by repeated
// starts. Every chip that the switches route to and that answers at addr
// takes part, as on a real bus: a write reaches all of them, a read returns
// the wired-AND of their bytes. 0, or -EREMOTEIO when nothing acknowledges,
// -EPROTO for a block count of 0 or above 32, -EOPNOTSUPP for a zero-length
// message on the instrument's own controller.
int i2cTransfer(SimState& s, int adapter, int addr, I2cMsg* msgs, size_t n);
// The same transaction as a recording of the program saw it: the write
// messages go to the chips as above, and each read message's bytes (what the
// instrument gave) are learnt by the chips it reaches. A read message whose
// first byte sets its length is learnt whole.
int i2cLearn(SimState& s, int adapter, int addr, I2cMsg* msgs, size_t n);
}  // namespace sim
