#pragma once
#include <linux/i2c.h>

#include <string>

// What an I2C adapter can carry, as its driver reports it (I2C_FUNCS). The
// devices of the registry that share an adapter share one record, so that
// the kernel is asked once per adapter in a process, on the first transfer.
// The instrument's own controller carries plain transfers and the SMBus the
// kernel builds on them, but no quick command, no zero-length message and no
// block read whose length the chip sends; an SMBus-only adapter (the kernel's
// I2C stub) carries no plain transfers at all.
struct I2cAdapterCaps {
  bool known = false;
  unsigned long funcs = 0;  // I2C_FUNC_* bits; 0 when the driver would not say
};

// One kind of transfer the program may need, with the words of a refusal.
struct I2cXferNeed {
  unsigned long func;   // the I2C_FUNC_* bit that carries it
  const char* what;     // "an SMBus block read"
  const char* instead;  // what works on such an adapter
};

namespace i2cNeed {
constexpr I2cXferNeed PLAIN = {I2C_FUNC_I2C, "plain I2C transfers",
                               "only SMBus transfers and single bytes reach a chip through it"};
constexpr I2cXferNeed QUICK = {I2C_FUNC_SMBUS_QUICK, "a zero-length message (SMBus quick)",
                               "a chip is probed with a one-byte read instead"};
constexpr I2cXferNeed SEND_BYTE = {I2C_FUNC_SMBUS_WRITE_BYTE, "an SMBus send byte", "none"};
constexpr I2cXferNeed RECEIVE_BYTE = {I2C_FUNC_SMBUS_READ_BYTE, "an SMBus receive byte", "none"};
constexpr I2cXferNeed WRITE_BYTE_DATA = {I2C_FUNC_SMBUS_WRITE_BYTE_DATA, "an SMBus byte write", "none"};
constexpr I2cXferNeed WRITE_WORD_DATA = {I2C_FUNC_SMBUS_WRITE_WORD_DATA, "an SMBus word write",
                                         "write one byte at a time"};
constexpr I2cXferNeed WRITE_BLOCK = {I2C_FUNC_SMBUS_WRITE_BLOCK_DATA, "an SMBus block write",
                                     "write at most two bytes"};
constexpr I2cXferNeed READ_BYTE_DATA = {I2C_FUNC_SMBUS_READ_BYTE_DATA, "an SMBus byte read", "none"};
constexpr I2cXferNeed READ_WORD_DATA = {I2C_FUNC_SMBUS_READ_WORD_DATA, "an SMBus word read",
                                        "read one byte at a time"};
constexpr I2cXferNeed READ_BLOCK = {I2C_FUNC_SMBUS_READ_BLOCK_DATA, "an SMBus block read",
                                    "read one or two bytes at a time"};
}  // namespace i2cNeed
