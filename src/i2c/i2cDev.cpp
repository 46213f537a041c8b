#include "i2cDev.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

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
    LOGERR(logFlags(), "failed to set device %s address 0x%02x\n", name.c_str(), address);
    logErrno(LOG_TERM | LOG_SYS, err);
    if (borrowed) return FAILURE;  // the descriptor is its owner's to close
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
  if (adapterFD && !borrowed) {
    kernel().close(*adapterFD);
    ++closeCount;
  }
  adapterFD.reset();
  borrowed = false;
  return SUCCESS;
}

// Asks the adapter once what it carries. Where it will not say, nothing is
// sent this time, and it is asked again the next.
bool I2cDev::offers(const I2cXferNeed& need) {
  if (!caps->known) {
    unsigned long funcs = 0;
    errno = 0;
    if (kernel().ioctl(fd(), I2C_FUNCS, &funcs) < 0) {
      int err = errno;
      LOGERR(logFlags(), "adapter /dev/i2c-%u did not say which transfers it carries, for device %s(0x%02x)\n",
             adapter, name.c_str(), address);
      logErrno(logFlags(), err);
      return false;
    }
    *caps = I2cAdapterCaps{true, funcs};
  }
  return (caps->funcs & need.func) != 0;
}

E_STATUS I2cDev::refuse(const I2cXferNeed& need) const {
  if (!caps->known) return FAILURE;  // the adapter would not say: that was reported
  bool alternative = strcmp(need.instead, "none") != 0;
  LOGERR(logFlags(), "adapter /dev/i2c-%u cannot carry %s (its driver does not offer it), for device %s(0x%02x)%s%s\n",
         adapter, need.what, name.c_str(), address, alternative ? ": " : "", alternative ? need.instead : "");
  return FXN_NOT_SUPPORTED;
}

bool I2cDev::answers() {
  bool memory = address >= 0x50 && address <= 0x57;
  if (!memory && offers(i2cNeed::QUICK))
    return i2c_smbus_access(fd(), I2C_SMBUS_WRITE, 0, I2C_SMBUS_QUICK, nullptr) >= 0;
  if (offers(i2cNeed::RECEIVE_BYTE)) return i2c_smbus_read_byte(fd()) >= 0;
  char b;
  return offers(i2cNeed::PLAIN) && kernel().read(fd(), &b, 1) == 1;
}

const I2cXferNeed* I2cDev::smbusWriteNeed(unsigned long n) const {
  switch (n) {
    case 0: return &i2cNeed::SEND_BYTE;
    case 1: return &i2cNeed::WRITE_BYTE_DATA;
    case 2: return &i2cNeed::WRITE_WORD_DATA;
  }
  return &i2cNeed::WRITE_BLOCK;
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
    LOGERR(logFlags(), "failed to write device %s(0x%02x)%s\n", name.c_str(), address, byteCnt);
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
           numBytesToWrite, name.c_str(), address, buf.size());
    return BAD_PARAMETER;
  }
  if (smbus && !offers(*smbusWriteNeed(numBytesToWrite))) return refuse(*smbusWriteNeed(numBytesToWrite));
  if (const I2cXferNeed* missing = smbus ? nullptr : plainMissing(numBytesToWrite, false)) return refuse(*missing);
  errno = 0;
  if (smbus)
    *pBytesWritten = smbusWrite(reinterpret_cast<const unsigned char*>(buf.data()), numBytesToWrite);
  else
    *pBytesWritten = plainWrite(buf.data(), numBytesToWrite);
  if (static_cast<long>(*pBytesWritten) == static_cast<long>(numBytesToWrite)) return SUCCESS;
  if (!silent) reportWriteFailure(buf, numBytesToWrite, *pBytesWritten, errno);
  return FAILURE;
}

E_STATUS I2cDev::wrRdBackOn(int fd, unsigned char out, unsigned char* in, bool* taken, bool silent) {
  adapterFD = fd;
  borrowed = true;
  *taken = false;
  E_STATUS status = SUCCESS;
  int cnt = 0;
  if (offers(i2cNeed::PLAIN)) {
    auto addr = static_cast<__u16>(address);
    i2c_msg msgs[2] = {{addr, 0, 1, &out}, {addr, I2C_M_RD, 1, in}};
    i2c_rdwr_ioctl_data xfer = {msgs, 2};
    errno = 0;
    *taken = kernel().ioctl(fd, I2C_RDWR, &xfer) == 2;
    status = *taken ? SUCCESS : FAILURE;
    if (!*taken && !silent) reportWriteFailure({reinterpret_cast<const char*>(&out), 1}, 1, -1, errno);
  } else if ((status = setDevAddr()) == SUCCESS) {
    status = wrBytes({reinterpret_cast<const char*>(&out), 1}, 1, &cnt, silent);
    *taken = status == SUCCESS;
    if (*taken) status = rdBytes(reinterpret_cast<char*>(in), 1, &cnt, 1);
  }
  int err = errno;
  tearDown();
  errno = err;
  return status;
}

// What a plain transfer of n bytes needs that the adapter lacks (null: it
// carries it). A single byte needs only the SMBus send or receive byte it is
// on the wire; no byte at all is a quick command.
const I2cXferNeed* I2cDev::plainMissing(unsigned long n, bool read) {
  if (!offers(i2cNeed::PLAIN)) {
    const I2cXferNeed& single = read ? i2cNeed::RECEIVE_BYTE : i2cNeed::SEND_BYTE;
    return n == 1 && offers(single) ? nullptr : &i2cNeed::PLAIN;
  }
  return n == 0 && !offers(i2cNeed::QUICK) ? &i2cNeed::QUICK : nullptr;
}

// One plain write transaction, or the send byte it is where only SMBus is carried.
int I2cDev::plainWrite(const char* b, unsigned long n) {
  if (offers(i2cNeed::PLAIN)) return static_cast<int>(kernel().write(fd(), b, n));
  return i2c_smbus_write_byte(fd(), static_cast<__u8>(b[0])) < 0 ? -1 : 1;
}

// One plain read transaction, or the receive byte it is where only SMBus is carried.
int I2cDev::plainRead(char* b, unsigned long n) {
  if (offers(i2cNeed::PLAIN)) return static_cast<int>(kernel().read(fd(), b, n));
  int v = i2c_smbus_read_byte(fd());
  if (v >= 0) b[0] = static_cast<char>(v);
  return v < 0 ? -1 : 1;
}

// Reported as wrBytes's own: the caller's first buffer bytes, 0 beyond its end, are what the write was
// meant to send.
void I2cDev::reportWriteFailure(std::span<const char> buf, unsigned long n, int written, int err) const {
  unsigned shown[SHOWN_BYTES] = {};
  for (size_t k = 0; k < SHOWN_BYTES && k < buf.size(); ++k) shown[k] = static_cast<unsigned char>(buf[k]);
  LOGERR_FN(logFlags(), "wrBytes",
            "failed to write device %s(0x%02x) bytesWritten= %d, numBytesToWrite= %d buf[0]= 0x%02x, buf[1]= 0x%02x, "
            "buf[2]= 0x%02x, buf[3]= 0x%02x\n",
            name.c_str(), address, written, static_cast<int>(n), shown[0], shown[1], shown[2], shown[3]);
  logErrno(logFlags(), err);
}

E_STATUS I2cDev::smbusRead(char* pBuf, unsigned long n, int* pBytesRead) {
  const I2cXferNeed& need = n == 1 ? i2cNeed::READ_BYTE_DATA : n == 2 ? i2cNeed::READ_WORD_DATA : i2cNeed::READ_BLOCK;
  if (!offers(need)) {
    *pBytesRead = 0;
    return refuse(need);
  }
  auto command = static_cast<__u8>(pBuf[0]);
  int v;
  if (n == 1 || n == 2) {
    // A byte read that fails is a failure like any other: its 0xFF would be
    // a value that no chip gave.
    v = n == 1 ? i2c_smbus_read_byte_data(fd(), command) : i2c_smbus_read_word_data(fd(), command);
    if (v >= 0) {
      pBuf[0] = static_cast<char>(v & 0xFF);
      if (n == 2) pBuf[1] = static_cast<char>((v >> 8) & 0xFF);
    }
    *pBytesRead = v < 0 ? 0 : static_cast<int>(n);
  } else {
    int maxLen = (n == 0 || n > I2C_SMBUS_BLOCK_MAX) ? I2C_SMBUS_BLOCK_MAX : static_cast<int>(n);
    v = i2c_smbus_read_block_data(fd(), command, reinterpret_cast<__u8*>(pBuf), maxLen);
    *pBytesRead = v;
  }
  if (v >= 0) return SUCCESS;
  int err = errno;
  LOGERR(logFlags(), "failed to read device %s(0x%02x), byteCnt= %d\n", name.c_str(), address, 0);
  logErrno(logFlags(), err);
  errno = err;
  return FAILURE;
}

E_STATUS I2cDev::rdBytes(char* pBuf, unsigned long numBytesToRead, int* pBytesRead, unsigned long silent,
                         bool noASCII, bool noNewLines) {
  if (const I2cXferNeed* missing = smbus ? nullptr : plainMissing(numBytesToRead, true)) {
    *pBytesRead = 0;
    return refuse(*missing);
  }
  errno = 0;
  E_STATUS status = SUCCESS;
  if (smbus)
    status = smbusRead(pBuf, numBytesToRead, pBytesRead);
  else
    *pBytesRead = plainRead(pBuf, numBytesToRead);
  if (status == FXN_NOT_SUPPORTED) return status;
  int err = errno;
  bool complete = static_cast<long>(*pBytesRead) == static_cast<long>(numBytesToRead);
  if (complete && !silent) dumpBytes(pBuf, *pBytesRead, noASCII, noNewLines);
  if (complete) return status;
  if (!silent) {
    LOGERR(logFlags(), "failed to read device %s(0x%02x), byteCnt= %d\n", name.c_str(), address, *pBytesRead);
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
    text[i % DUMP_WIDTH] = shownChar(b);
    snprintf(hex, sizeof hex, "%02x", b);
    line += hex;
    if (i % DUMP_WIDTH != DUMP_WIDTH - 1) continue;
    if (!noASCII) line += std::string(" ") + text;
    if (!noNewLines) line += "\n";
    log(LOG_TERM, "%s", line.c_str());
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
  log(LOG_TERM, "%s %s\n", line.c_str(), text);
}
