#include "i2cSmbus.h"

#include <cstring>

#include "kernel.h"

int i2c_smbus_access(int file, char read_write, __u8 command, int size, union i2c_smbus_data* data) {
  struct i2c_smbus_ioctl_data args;
  args.read_write = static_cast<__u8>(read_write);
  args.command = command;
  args.size = static_cast<__u32>(size);
  args.data = data;
  return kernel().ioctl(file, I2C_SMBUS, &args);
}

int i2c_smbus_read_byte(int file) {
  union i2c_smbus_data data;
  if (i2c_smbus_access(file, I2C_SMBUS_READ, 0, I2C_SMBUS_BYTE, &data)) return -1;
  return data.byte;
}

int i2c_smbus_read_byte_data(int file, __u8 command) {
  union i2c_smbus_data data;
  if (i2c_smbus_access(file, I2C_SMBUS_READ, command, I2C_SMBUS_BYTE_DATA, &data)) return -1;
  return data.byte;
}

int i2c_smbus_read_word_data(int file, __u8 command) {
  union i2c_smbus_data data;
  if (i2c_smbus_access(file, I2C_SMBUS_READ, command, I2C_SMBUS_WORD_DATA, &data)) return -1;
  return data.word;
}

int i2c_smbus_read_block_data(int file, __u8 command, __u8* values, int maxLen) {
  union i2c_smbus_data data;
  if (i2c_smbus_access(file, I2C_SMBUS_READ, command, I2C_SMBUS_BLOCK_DATA, &data)) return -1;
  int count = data.block[0];
  int copy = count < maxLen ? count : maxLen;
  if (copy > 0) memcpy(values, &data.block[1], static_cast<size_t>(copy));
  return count;
}

int i2c_smbus_write_byte(int file, __u8 value) {
  return i2c_smbus_access(file, I2C_SMBUS_WRITE, value, I2C_SMBUS_BYTE, nullptr);
}

int i2c_smbus_write_byte_data(int file, __u8 command, __u8 value) {
  union i2c_smbus_data data;
  data.byte = value;
  return i2c_smbus_access(file, I2C_SMBUS_WRITE, command, I2C_SMBUS_BYTE_DATA, &data);
}

int i2c_smbus_write_word_data(int file, __u8 command, __u16 value) {
  union i2c_smbus_data data;
  data.word = value;
  return i2c_smbus_access(file, I2C_SMBUS_WRITE, command, I2C_SMBUS_WORD_DATA, &data);
}

int i2c_smbus_write_block_data(int file, __u8 command, __u8 length, const __u8* values) {
  union i2c_smbus_data data;
  if (length > I2C_SMBUS_BLOCK_MAX) length = I2C_SMBUS_BLOCK_MAX;
  data.block[0] = length;
  memcpy(&data.block[1], values, length);
  return i2c_smbus_access(file, I2C_SMBUS_WRITE, command, I2C_SMBUS_BLOCK_DATA, &data);
}
