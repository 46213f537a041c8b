#pragma once
#include <span>
#include <string>

#include "diagStatus.h"
#include "i2cPath.h"

class TstAxs;

// One named chip on an I2C adapter, reached through the i2c-dev device file.
// Each access is setUp, one or more wrBytes/rdBytes, tearDown; the adapter is
// closed between accesses. In SMBus mode the first buffer byte is the
// command (register) byte and the byte counts count the data after it; in
// plain mode each call is one I2C read or write transaction of the buffer.
class I2cDev : public DiagObject {
public:
  I2cDev(std::string name, unsigned adapter, unsigned address, E_HOST host, unsigned hostMux, unsigned localMux,
         bool smbus, bool sysLoggingOn, TstAxs* pTstAxs, std::string description, bool axsTestedDuringPOST,
         bool notOnLaterRevs, bool scanTstIgnore);

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
  E_STATUS rdBytes(char* pBuf, unsigned long numBytesToRead, int* pBytesRead, unsigned long silent, bool noASCII,
                   bool noNewLines);
  void setBus(bool smbusMode) { smbus = smbusMode; }

  int adapterFD;
  int openCount;
  int closeCount;
  bool smbus;
  bool sysLoggingOn;
  std::string name;
  unsigned adapter;
  unsigned address;
  E_HOST host;
  unsigned hostMux;
  unsigned localMux;
  TstAxs* pTstAxs;
  bool axsTestedDuringPOST;
  bool notOnLaterRevs;
  std::string description;
  bool scanTstIgnore;

private:
  unsigned long logFlags() const;
  int smbusWrite(const unsigned char* b, unsigned long n);
  void reportWriteFailure(std::span<const char> buf, unsigned long n, int written, int err) const;
  E_STATUS smbusRead(char* pBuf, unsigned long n, int* pBytesRead);
};

// The byte dump of a read: 16 bytes a line as hex pairs, then (unless noASCII)
// a text column of the printable bytes.
void dumpBytes(const char* pBuf, int count, bool noASCII, bool noNewLines);
