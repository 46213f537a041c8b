#pragma once
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "diagStatus.h"
#include "i2cAdapterCaps.h"
#include "i2cHost.h"

class I2CPath;

// What the registry knows of one named chip: where it sits, how it is driven,
// how it is listed and which tests look at it. Fields left out of a
// declaration keep the defaults: no multiplexer, plain transfers, no flags.
struct I2cDevDesc {
  std::string name;            // the key by which commands name the device
  unsigned adapter = 0;        // the N of /dev/i2c-N
  unsigned address = 0;        // 7-bit slave address
  E_HOST host = NONE;          // the host board behind which the chip sits
  unsigned hostMux = NO_MUX;   // channel of the host-level multiplexer
  unsigned localMux = NO_MUX;  // channel of the second-level multiplexer
  bool smbus = false;          // SMBus transactions, else plain read/write on the adapter
  bool sysLoggingOn = false;   // error messages go to the system log too
  I2CPath* path = nullptr;     // the multiplexer channels that reach it; the registry's
  std::string description;     // the fixed-column line of the device listing
  bool axsTestedDuringPOST = false;
  bool notOnLaterRevs = false;  // a 4-channel mux: boards from revision 3 have a switch instead
  bool notOnEarlyRevs = false;  // a PCA9545 switch: boards below revision 3 have a mux instead
  bool scanTstIgnore = false;  // the bus scan passes the chip over
  bool boardIdMem = false;     // a board EEPROM (24LC32A) that holds its board's identity
};

// One named chip on an I2C adapter, reached through the i2c-dev device file.
// Each access is setUp, one or more wrBytes/rdBytes, tearDown; the adapter is
// closed between accesses. In SMBus mode the first buffer byte is the
// command (register) byte and the byte counts count the data after it; in
// plain mode each call is one I2C read or write transaction of the buffer.
// A transfer the adapter does not carry (see I2cAdapterCaps) is refused with
// one line and FXN_NOT_SUPPORTED before anything is sent, except that a plain
// single byte goes as the SMBus send or receive byte it is on the wire.
class I2cDev : public I2cDevDesc {
public:
  explicit I2cDev(I2cDevDesc desc) : I2cDevDesc(std::move(desc)) {}

  E_STATUS openAdapter();
  E_STATUS setDevAddr();
  E_STATUS setUp();
  E_STATUS tearDown();
  // buf is the caller's whole buffer: the transfer takes its first bytes (a
  // count that needs more than it holds is refused), and a failure message
  // shows its first four, 0 only for those beyond its end.
  E_STATUS wrBytes(std::span<const char> buf, unsigned long numBytesToWrite, int* pBytesWritten,
                   unsigned long silent);
  // A block read (SMBus, count 0 or 3 and more) may fill up to 32 bytes when
  // numBytesToRead is 0; otherwise at most numBytesToRead bytes are stored.
  // The dump's two options count only when the bytes are printed (silent 0).
  E_STATUS rdBytes(char* pBuf, unsigned long numBytesToRead, int* pBytesRead, unsigned long silent,
                   bool noASCII = false, bool noNewLines = false);
  // Writes one byte and reads one back at this chip's address, on a
  // descriptor that another device of the adapter opened: how a multiplexer's
  // control byte is set and checked. Where the adapter carries plain
  // transfers, one combined transfer (a repeated start between the two
  // messages) and no address request; else the address is set and the byte
  // written and read one request at a time. *taken tells whether the write
  // went through; a failed write is reported unless silent.
  E_STATUS wrRdBackOn(int fd, unsigned char out, unsigned char* in, bool* taken, bool silent);
  void setBus(bool smbusMode) { smbus = smbusMode; }
  // Whether a set-up chip acknowledges its address, probed as the detection
  // tools do: memories with a one-byte read (a write could start a write
  // cycle), other chips with a quick write where the adapter has one, else
  // with a one-byte read too.
  bool answers();

  // What the adapter carries; registry devices on one adapter share it.
  std::shared_ptr<I2cAdapterCaps> caps = std::make_shared<I2cAdapterCaps>();

  // The adapter's descriptor from the last open, empty once tearDown has
  // closed it; any value, descriptor 0 included, is closed by tearDown. A
  // failed open leaves its negative result and a refused address the closed
  // descriptor, so that tearDown closes (and counts) once more.
  std::optional<int> adapterFD;
  int openCount = 0;   // successful opens, shown when an open fails
  int closeCount = 0;

  // The descriptor transfers go to: those of a closed device fail as on a bad descriptor.
  int fd() const { return adapterFD.value_or(-1); }

private:
  unsigned long logFlags() const;
  bool offers(const I2cXferNeed& need);
  E_STATUS refuse(const I2cXferNeed& need) const;
  const I2cXferNeed* smbusWriteNeed(unsigned long n) const;
  const I2cXferNeed* plainMissing(unsigned long n, bool read);
  int smbusWrite(const unsigned char* b, unsigned long n);
  int plainWrite(const char* b, unsigned long n);
  int plainRead(char* b, unsigned long n);
  void reportWriteFailure(std::span<const char> buf, unsigned long n, int written, int err) const;
  E_STATUS smbusRead(char* pBuf, unsigned long n, int* pBytesRead);
  bool borrowed = false;  // the descriptor is another device's (wrRdBackOn): tearDown leaves it open
};

// The byte dump of a read: 16 bytes a line as hex pairs, then (unless noASCII)
// a text column of the printable bytes.
void dumpBytes(const char* pBuf, int count, bool noASCII, bool noNewLines);
