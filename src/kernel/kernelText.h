#pragma once
#include <linux/i2c-dev.h>
#include <linux/i2c.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// The words in which a request to the kernel and its answer are written down:
// one line each, "REQUEST" or "REQUEST -> ANSWER". The simulator's trace and a
// recording of the program use the same words, so that a run on the desk and
// a run on the instrument can be compared line by line.

// Name of an errno value ("EREMOTEIO"); a value without a name here is "E<number>".
std::string errName(int err);
// The errno value of such a word; 0 for a word that is neither.
int errNumber(const std::string& name);

// Bytes as hexadecimal pairs separated by blanks; "" for none.
std::string hexBytes(const uint8_t* b, size_t n);
// The bytes of such a text; false when it is not one.
bool parseHexBytes(const std::string& text, std::vector<uint8_t>* out);

// Text as one word: as it is when it is plain, else in double quotes with C's
// escapes (\n, \t, \", \\, \xHH; a blank as \x20, so that a word never holds one).
std::string quoted(const std::string& text);
// The words of a line, a quoted word unquoted; false when a quote is not closed
// or an escape is broken.
bool splitWords(const std::string& line, std::vector<std::string>* words);
// Where the answer of a line begins: after the first " -> " outside quotes; npos without one.
size_t answerAt(const std::string& line);

// The line of a request and its answer: "REQUEST -> ANSWER", or the request alone for an empty answer.
std::string withAnswer(const std::string& request, const std::string& answer);

// open: "open /dev/i2c-2 O_RDWR".
std::string openText(const char* path, int flags);
// A read of a system file: "read /vesta/diags/boardrev.txt 63"; its answer: the count and the text, "2 3\n"
// (quoted where it is not plain: "2 \"3\\n\"").
std::string sysReadText(const std::string& path, size_t n);
std::string sysReadAnswer(const char* b, size_t n);

// The number of the I2C adapter a path names ("/dev/i2c-2": 2); -1 for another path.
int adapterOfPath(const char* path);
// An I2C adapter, "i2c-2", and a client address on it, "i2c-2 0x52".
std::string adapterText(int adapter);
std::string i2cText(int adapter, int addr);
// "i2c-2 slave_force 0x52" (or slave).
std::string i2cAddrText(int adapter, bool force, unsigned long addr);
// A plain transfer: "i2c-2 0x50 read 5", "i2c-2 0x71 write 08".
std::string i2cXferText(int adapter, int addr, bool read, const uint8_t* b, size_t n);
// A combined transfer (I2C_RDWR), its messages joined by " ; ": "i2c-2 rdwr 0x71 write 01 ; 0x71 read 1"; its
// answer, the read messages' bytes joined the same way: "01".
std::string i2cRdwrText(int adapter, const i2c_rdwr_ioctl_data& d);
std::string i2cRdwrAnswer(const i2c_rdwr_ioctl_data& d);
// The SMBus request size's name ("word_data"); nullptr for a size the kernel does not know.
const char* smbusSizeName(unsigned size);
// The size of such a name; -1 for none.
int smbusSizeOf(const std::string& name);
// "i2c-2 0x52 smbus read word_data cmd 0x90", "... smbus write byte_data cmd 0x00 data 00".
std::string smbusText(int adapter, int addr, const i2c_smbus_ioctl_data& r);
// What a request that went through gives back ("0be0", a block's bytes without
// its count); "" for a request that gives nothing back.
std::string smbusAnswer(const i2c_smbus_ioctl_data& r);
// Puts such an answer where the request's data receives it; false when it is not one for this request.
bool smbusTakeAnswer(const std::string& answer, i2c_smbus_ioctl_data* r);

// The FPGA driver's address spaces by device type: "reg"; "devtype N" for another.
std::string fpgaSpaceName(int32_t devtype);
// "fpga rd reg 0x0010", "fpga wr obuf 0x3ffe 0x1234".
std::string fpgaWordText(bool write, int32_t devtype, int32_t offset, uint32_t val);
// A record written to the driver, "fpga write cmd 0x11abcb val 0x100000" ("fpga write 12 bytes" when it is
// not one record); the mapping of its buffer, "fpga mmap len 0x200000".
std::string fpgaDrvWriteText(const void* b, size_t n);
std::string fpgaMmapText(size_t len, long long offset);
