#include "i2cDev.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "i2cSmbus.h"
#include "kernel.h"
#include "log.h"

namespace {
constexpr int DUMP_WIDTH = 16;
constexpr unsigned long SHOWN_BYTES = 4;  // buffer bytes a write failure shows

// The bytes a write takes from the buffer: in SMBus mode the command byte and
// up to two data bytes, or a block that starts at the command byte (cut to the
// SMBus maximum of 32); in plain mode the count itself.
unsigned long bytesTaken(bool smbus, unsigned long n) {
  if (!smbus) return n;
  if (n <= 2) return n + 1;
  return std::clamp(n & 0xFF, 1ul, static_cast<unsigned long>(I2C_SMBUS_BLOCK_MAX));
}
}  // namespace

unsigned long I2cDev::logFlags() const { return sysLoggingOn ? (LOG_TERM | LOG_SYS) : LOG_TERM; }

E_STATUS I2cDev::openAdapter() {
  char path[24];
  snprintf(path, sizeof path, "/dev/i2c-%d", static_cast<int>(adapter));
  errno = 0;
  adapterFD = kernel().open(path, O_RDWR);
  if (*adapterFD < 0) {
    int err = errno;
    LOGERR(logFlags(), "failed to open I2C adapter %s openCount= %d, closeCount= %d\n", path, openCount, closeCount);
    logErrno(LOG_TERM | LOG_SYS, err);
    return FAILURE;
  }
  ++openCount;
  return SUCCESS;
}

E_STATUS I2cDev::setDevAddr() {
  errno = 0;
  if (kernel().ioctlVal(fd(), I2C_SLAVE_FORCE, address) < 0) {
    int err = errno;
    LOGERR(logFlags(), "failed to set device %s address 0x%02x\n", escPct(name).c_str(), address);
    logErrno(LOG_TERM | LOG_SYS, err);
    kernel().close(fd());  // the value stays stored: tearDown closes (and counts) once more
    ++closeCount;
    return FAILURE;
  }
  return SUCCESS;
}

E_STATUS I2cDev::setUp() {
  E_STATUS status = openAdapter();
  if (status != SUCCESS) return status;
  return setDevAddr();
}

E_STATUS I2cDev::tearDown() {
  if (adapterFD) {
    kernel().close(*adapterFD);
    ++closeCount;
    adapterFD.reset();
  }
  return SUCCESS;
}

// One SMBus write by data count; the result is what wrBytes reports as written.
int I2cDev::smbusWrite(const unsigned char* b, unsigned long n) {
  int r;
  int written;
  const char* byteCnt = ", byteCnt= 0";
  switch (n) {
    case 0: r = i2c_smbus_write_byte(fd(), b[0]); written = 0; break;
    case 1: r = i2c_smbus_write_byte_data(fd(), b[0], b[1]); written = r < 0 ? 0 : 1; break;
    case 2:
      r = i2c_smbus_write_word_data(fd(), b[0], static_cast<__u16>(b[1] | (b[2] << 8)));
      written = r < 0 ? 0 : 2;
      byteCnt = "";
      break;
    default:
      // The block's data starts at the command byte itself and the result is the
      // request's (0), so a block write is always reported as failed.
      r = i2c_smbus_write_block_data(fd(), b[0], static_cast<__u8>(n & 0xFF), b);
      written = r;
      byteCnt = "";
  }
  if (r < 0) {
    int err = errno;
    LOGERR(logFlags(), "failed to write device %s(0x%02x)%s\n", escPct(name).c_str(), address, byteCnt);
    logErrno(logFlags(), err);
    errno = err;
  }
  return written;
}

E_STATUS I2cDev::wrBytes(std::span<const char> buf, unsigned long numBytesToWrite, int* pBytesWritten,
                         unsigned long silent) {
  *pBytesWritten = 0;
  if (buf.size() < bytesTaken(smbus, numBytesToWrite)) {
    LOGERR(logFlags(), "a write of %lu bytes to device %s(0x%02x) does not fit the buffer of %zu bytes\n",
           numBytesToWrite, escPct(name).c_str(), address, buf.size());
    return BAD_PARAMETER;
  }
  errno = 0;
  if (smbus)
    *pBytesWritten = smbusWrite(reinterpret_cast<const unsigned char*>(buf.data()), numBytesToWrite);
  else
    *pBytesWritten = static_cast<int>(kernel().write(fd(), buf.data(), numBytesToWrite));
  if (static_cast<long>(*pBytesWritten) == static_cast<long>(numBytesToWrite)) return SUCCESS;
  if (!silent) reportWriteFailure(buf, numBytesToWrite, *pBytesWritten, errno);
  return FAILURE;
}

// Reported as wrBytes's own: the caller's first buffer bytes, 0 beyond its end, are what the write was
// meant to send.
void I2cDev::reportWriteFailure(std::span<const char> buf, unsigned long n, int written, int err) const {
  unsigned shown[SHOWN_BYTES] = {};
  for (size_t k = 0; k < SHOWN_BYTES && k < buf.size(); ++k) shown[k] = static_cast<unsigned char>(buf[k]);
  LOGERR_FN(logFlags(), "wrBytes",
            "failed to write device %s(0x%02x) bytesWritten= %d, numBytesToWrite= %d buf[0]= 0x%02x, buf[1]= 0x%02x, "
            "buf[2]= 0x%02x, buf[3]= 0x%02x\n",
            escPct(name).c_str(), address, written, static_cast<int>(n), shown[0], shown[1], shown[2], shown[3]);
  logErrno(logFlags(), err);
}

E_STATUS I2cDev::smbusRead(char* pBuf, unsigned long n, int* pBytesRead) {
  auto command = static_cast<__u8>(pBuf[0]);
  if (n == 1) {
    // A failed byte read is not detected: it reads as 0xFF.
    pBuf[0] = static_cast<char>(i2c_smbus_read_byte_data(fd(), command) & 0xFF);
    *pBytesRead = 1;
    return SUCCESS;
  }
  int v;
  if (n == 2) {
    v = i2c_smbus_read_word_data(fd(), command);
    if (v >= 0) {
      pBuf[0] = static_cast<char>(v & 0xFF);
      pBuf[1] = static_cast<char>((v >> 8) & 0xFF);
    }
    *pBytesRead = v < 0 ? 0 : 2;
  } else {
    int maxLen = (n == 0 || n > I2C_SMBUS_BLOCK_MAX) ? I2C_SMBUS_BLOCK_MAX : static_cast<int>(n);
    v = i2c_smbus_read_block_data(fd(), command, reinterpret_cast<__u8*>(pBuf), maxLen);
    *pBytesRead = v;
  }
  if (v >= 0) return SUCCESS;
  int err = errno;
  LOGERR(logFlags(), "failed to read device %s(0x%02x), byteCnt= %d\n", escPct(name).c_str(), address, 0);
  logErrno(logFlags(), err);
  errno = err;
  return FAILURE;
}

E_STATUS I2cDev::rdBytes(char* pBuf, unsigned long numBytesToRead, int* pBytesRead, unsigned long silent,
                         bool noASCII, bool noNewLines) {
  errno = 0;
  E_STATUS status = SUCCESS;
  if (smbus)
    status = smbusRead(pBuf, numBytesToRead, pBytesRead);
  else
    *pBytesRead = static_cast<int>(kernel().read(fd(), pBuf, numBytesToRead));
  int err = errno;
  bool complete = static_cast<long>(*pBytesRead) == static_cast<long>(numBytesToRead);
  if (complete && !silent) dumpBytes(pBuf, *pBytesRead, noASCII, noNewLines);
  if (complete) return status;
  if (!silent) {
    LOGERR(logFlags(), "failed to read device %s(0x%02x), byteCnt= %d\n", escPct(name).c_str(), address, *pBytesRead);
    logErrno(logFlags(), err);
  }
  return FAILURE;
}

void dumpBytes(const char* pBuf, int count, bool noASCII, bool noNewLines) {
  char text[DUMP_WIDTH + 1] = {};
  std::string line;
  char hex[4];
  for (int i = 0; i < count; ++i) {
    auto b = static_cast<unsigned char>(pBuf[i]);
    text[i % DUMP_WIDTH] = (b >= 0x20 && b <= 0x7E) ? static_cast<char>(b) : '.';
    snprintf(hex, sizeof hex, "%02x", b);
    line += hex;
    if (i % DUMP_WIDTH != DUMP_WIDTH - 1) continue;
    if (!noASCII) line += std::string(" ") + text;
    if (!noNewLines) line += "\n";
    log(LOG_TERM, "%s", escPct(line).c_str());
    line.clear();
  }
  if (count <= 0) return;
  if (count % DUMP_WIDTH == 0) {
    if (noNewLines) log(LOG_TERM, "\n");
    return;
  }
  if (noASCII) {
    log(LOG_TERM, "%s\n", line.c_str());
    return;
  }
  // The text column ends at the total count: after full lines it still shows
  // the previous line's characters beyond this line's bytes, and only a
  // dump shorter than one line is padded.
  text[count < DUMP_WIDTH ? count : DUMP_WIDTH] = '\0';
  if (count < DUMP_WIDTH) line += std::string(2 * static_cast<size_t>(DUMP_WIDTH - count), ' ');
  log(LOG_TERM, "%s %s\n", line.c_str(), escPct(text).c_str());
}
