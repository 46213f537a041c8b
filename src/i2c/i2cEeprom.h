#pragma once
#include <cstddef>
#include <string>
#include <vector>

#include "i2cDevMap.h"

// A board EEPROM (24LC32A) of the registry by its name: two address bytes,
// high first, sequential reads, 32-byte write pages. After a page write the
// part takes up to 5 ms to store it and does not acknowledge its address
// meanwhile; each write waits that out by polling the acknowledge, a bounded
// number of times. Each call is one scoped access (the path selected, the
// semaphore held) and reports its own failures.
class I2cEeprom {
public:
  static constexpr size_t PAGE = 32;
  // Polls of the acknowledge after a page write, one a millisecond: four
  // times the part's longest write cycle.
  static constexpr int ACK_POLLS = 20;

  I2cEeprom(I2cDevMap& devs, std::string name) : devs(devs), name(std::move(name)) {}
  // The board EEPROMs of the registry, by name.
  static std::vector<std::string> names(I2cDevMap& devs);

  // quiet: a part that does not answer fails without a line of its own (the
  // caller says so in its own words).
  E_STATUS rd(unsigned offset, unsigned char* buf, size_t n, bool quiet = false);
  // What a board identity's decoder looks at, into an image of
  // boardId::IMAGE_BYTES: the label and header, then only as many stream
  // bytes as the header says (where that is in range); the rest is 0xFF.
  // Reading the whole part at the bus's 100 kHz would take 0.4 s.
  E_STATUS rdIdentity(unsigned char* img, bool quiet = false);
  // Bytes within one page (offset to offset + n - 1 on one page), written
  // and waited out.
  E_STATUS wrPage(unsigned offset, const unsigned char* buf, size_t n);
  // Polls made by the last write until the part answered.
  int lastPolls() const { return polls; }
  // On a memory set up for access that was just written: waits until it
  // acknowledges again, polling with the address ptr, where the pointer is
  // left (*polls: how many polls it took).
  static E_STATUS waitWritten(I2cDev& dev, unsigned ptr, int* polls);

private:
  I2cDevMap& devs;
  std::string name;
  int polls = 0;
};
