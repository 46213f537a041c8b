#include "i2cHostDetect.h"

#include <linux/i2c-dev.h>

#include <cstdio>
#include <cstring>

#include "kernel.h"

namespace {
const char* const ADAPTER2_DIR = "/sys/devices/platform/omap/omap_i2c.2/i2c-2";
const char* const BUS_DEVICES = "/sys/bus/i2c/devices";
constexpr size_t NAME_MAX_READ = 20;
constexpr size_t PATH_MAX_LEN = 100;

// Reads a sysfs name file (up to 20 bytes) without its line end. A file that
// cannot be read gives an empty name, which no chip has.
void readName(const char* path, char* name, size_t size) {
  ssize_t n = kernel().readFile(path, name, size);
  if (n > 1 && (name[n - 1] == '\n' || name[n - 1] == '\r')) name[n - 1] = '\0';
}

bool clientNameIs(int addr, const char* expected) {
  char path[PATH_MAX_LEN + 1];
  snprintf(path, sizeof path, "%s/2-%04x/name", ADAPTER2_DIR, addr);
  char name[NAME_MAX_READ + 1];
  readName(path, name, sizeof name);
  return strcmp(name, expected) == 0;
}

bool selectAndWrite(int fd, int addr, int byte) {
  if (kernel().ioctlVal(fd, I2C_SLAVE_FORCE, static_cast<unsigned long>(addr)) < 0) return false;
  unsigned char b = static_cast<unsigned char>(byte);
  return kernel().write(fd, &b, 1) == 1;
}
}  // namespace

bool isMainHost() {
  char path[PATH_MAX_LEN + 1];
  snprintf(path, sizeof path, "%s/2-0056", ADAPTER2_DIR);
  return kernel().canOpen(path);
}

bool isFrontPanel() { return clientNameIs(0x53, "24c512_fp"); }
bool isMainRef() { return clientNameIs(0x50, "24c512_ref"); }

int searchForI2cMuxSwAddr(I2cAddrSearchInfo_t const* pAddrSearchInfo, char* hwname) {
  if (!pAddrSearchInfo || !hwname) return -1;
  if (pAddrSearchInfo->bus != 1 && pAddrSearchInfo->bus != 2) return -1;
  snprintf(hwname, NAME_MAX_READ, "unknown");
  for (const I2cPartAddrInfo_t& cand : pAddrSearchInfo->I2cAddrInfo) {
    char path[PATH_MAX_LEN + 2];
    int len = snprintf(path, sizeof path, "%s/%d-%04x", BUS_DEVICES, pAddrSearchInfo->bus, cand.addr);
    if (len < 0 || static_cast<size_t>(len) > PATH_MAX_LEN) return -1;
    if (!kernel().canOpen(path)) continue;
    // The name is read from adapter 2's directory whatever the bus.
    len = snprintf(path, sizeof path, "%s/%d-%04x/name", ADAPTER2_DIR, pAddrSearchInfo->bus, cand.addr);
    if (len < 0 || static_cast<size_t>(len) > PATH_MAX_LEN) return -1;
    char name[NAME_MAX_READ + 1];
    readName(path, name, sizeof name);
    for (const I2cPartAddrInfo_t& match : pAddrSearchInfo->I2cAddrInfo) {
      if (strncmp(name, match.name, sizeof match.name) != 0) continue;
      snprintf(hwname, NAME_MAX_READ, "%.19s", match.name);
      return match.addr;
    }
  }
  return -1;
}

int probe_I2cSensAddr(int fd, int muxaddr, int chan_open_code, int addr1, int addr2, int regaddr) {
  if (fd < 0) return -2;
  if (addr1 < 0 || addr2 < 0 || muxaddr == -1) return -1;
  if (muxaddr != 0) {
    if (kernel().ioctlVal(fd, I2C_SLAVE_FORCE, static_cast<unsigned long>(muxaddr)) < 0) return -3;
    unsigned char code = static_cast<unsigned char>(chan_open_code);
    if (kernel().write(fd, &code, 1) != 1) return -4;
  }
  int found = -1;
  for (int addr : {addr1, addr2}) {
    if (selectAndWrite(fd, addr, regaddr)) {
      found = addr;
      break;
    }
  }
  // The switch is deselected whether or not a sensor answered: a channel left
  // open would put the sensor's neighbours on the bus of every later access.
  if (muxaddr != 0) {
    bool addressed = kernel().ioctlVal(fd, I2C_SLAVE_FORCE, static_cast<unsigned long>(muxaddr)) == 0;
    unsigned char off = 0x00;
    bool closed = addressed && kernel().write(fd, &off, 1) == 1;
    if (found >= 0 && !closed) return addressed ? -5 : -3;
  }
  return found;
}
