#pragma once
// Which board the program runs on and where its PCA9545 switches and the
// main-reference sensor answer, found from the kernel's sysfs tree of
// adapter 2 and by probing. Used when the device registry is built; none of
// them reports: a missing file or unreadable name means false or -1.

bool isMainHost();
bool isFrontPanel();
bool isMainRef();

struct I2cPartAddrInfo_t {
  int addr;       // 7-bit address
  char name[20];  // kernel driver name expected in sysfs
};

struct I2cAddrSearchInfo_t {
  int bus;  // adapter number
  I2cPartAddrInfo_t I2cAddrInfo[2];  // candidates, tried in order
};

// The address of the candidate whose sysfs name matches, or -1; the matched
// name (at most 19 characters) goes to hwname, "unknown" when none matched.
int searchForI2cMuxSwAddr(I2cAddrSearchInfo_t const* pAddrSearchInfo, char* hwname);

// On an open adapter: opens the switch channel (unless muxaddr is 0), finds
// which of addr1, addr2 takes the byte regaddr, and deselects the switch,
// also when neither answered.
// Returns the answering address, -1 when neither answers or an argument is
// bad, -2 for a bad descriptor, -3 when the switch address cannot be set,
// -4 or -5 when the switch does not take its control byte.
int probe_I2cSensAddr(int fd, int muxaddr, int chan_open_code, int addr1, int addr2, int regaddr);
