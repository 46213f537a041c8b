#pragma once
#include <linux/i2c-dev.h>
#include <linux/i2c.h>

// SMBus transactions on an open i2c-dev adapter file, each one I2C_SMBUS
// request through the kernel seam. Results follow the kernel's user-space
// helpers: the byte or word read, or -1 on failure (errno set); writes return
// the request's result.
int i2c_smbus_access(int file, char read_write, __u8 command, int size, union i2c_smbus_data* data);
int i2c_smbus_read_byte(int file);
int i2c_smbus_read_byte_data(int file, __u8 command);
int i2c_smbus_read_word_data(int file, __u8 command);
// Copies at most maxLen of the bytes the device sends into values; returns the
// device's count (which may be larger than maxLen).
int i2c_smbus_read_block_data(int file, __u8 command, __u8* values, int maxLen = I2C_SMBUS_BLOCK_MAX);
int i2c_smbus_write_byte(int file, __u8 value);
int i2c_smbus_write_byte_data(int file, __u8 command, __u8 value);
int i2c_smbus_write_word_data(int file, __u8 command, __u16 value);
// The length is cut to the SMBus block maximum of 32.
int i2c_smbus_write_block_data(int file, __u8 command, __u8 length, const __u8* values);
