#include <cstdio>
#include <cstring>

#include "eepromIdentity.h"
#include "i2cChips.h"
#include "i2cTopology.h"
#include "simState.h"
#include "simStore.h"

namespace sim {

namespace {
constexpr unsigned ADDR_MASK = EEPROM_BYTES - 1;
constexpr unsigned PAGE_BYTES = 32;
// After a page write the part stores the page and does not acknowledge its
// address meanwhile (up to 5 ms on the data sheet).
constexpr uint64_t WRITE_CYCLE_NS = 3'000'000;

bool busy(const EepromState& e) { return nowNs() < e.busyUntilNs; }

void reset(SimState& s, int slot, int id) {
  EepromState& e = s.i2c.eeprom[slot];
  e.ptr = 0;
  e.busyUntilNs = 0;
  memset(e.mem, 0xFF, sizeof e.mem);
  const char* text = chipInfo(id).idText;
  if (!text) return;
  memset(e.mem, 0, 32);
  memcpy(e.mem, text, strlen(text));
  writeIdentity(e.mem, sizeof e.mem, text, slot);
}

// Two address bytes, high first, then data written within the 32-byte page
// (the address rolls over at the page end, as the part does).
bool write(SimState& s, int slot, const I2cChipFault& f, const uint8_t* b, size_t n, bool) {
  EepromState& e = s.i2c.eeprom[slot];
  if (busy(e)) return false;
  if (n < 2) return true;  // an address cut short leaves the pointer as it was
  unsigned addr = ((b[0] << 8) | b[1]) & ADDR_MASK;
  unsigned page = addr & ~(PAGE_BYTES - 1);
  for (size_t k = 2; k < n; ++k) {
    e.mem[addr] = static_cast<uint8_t>(applyStuck(f, addr, b[k]));
    addr = page | ((addr + 1) & (PAGE_BYTES - 1));
  }
  e.ptr = static_cast<uint16_t>(addr);
  if (n > 2) e.busyUntilNs = nowNs() + WRITE_CYCLE_NS;
  return true;
}

bool read(SimState& s, int slot, const I2cChipFault& f, uint8_t* b, size_t n, size_t) {
  EepromState& e = s.i2c.eeprom[slot];
  if (busy(e)) return false;
  for (size_t k = 0; k < n; ++k) {
    b[k] = static_cast<uint8_t>(applyStuck(f, e.ptr, e.mem[e.ptr]));
    e.ptr = static_cast<uint16_t>((e.ptr + 1) & ADDR_MASK);
  }
  return true;
}

void learn(SimState& s, int slot, const uint8_t* b, size_t n, size_t) {
  EepromState& e = s.i2c.eeprom[slot];
  for (size_t k = 0; k < n; ++k) {
    e.mem[e.ptr] = b[k];
    e.ptr = static_cast<uint16_t>((e.ptr + 1) & ADDR_MASK);
  }
}

bool peek(SimState& s, int slot, unsigned reg, unsigned, unsigned* v, std::string& err) {
  return peekByte(s.i2c.eeprom[slot].mem, EEPROM_BYTES, reg, v, err);
}

bool poke(SimState& s, int slot, unsigned reg, unsigned, unsigned v, std::string& err) {
  return pokeByte(s.i2c.eeprom[slot].mem, EEPROM_BYTES, reg, v, err);
}

std::string describe(SimState& s, int slot) {
  char buf[32];
  snprintf(buf, sizeof buf, "address 0x%03x", s.i2c.eeprom[slot].ptr);
  return buf;
}
}  // namespace

const ChipModel eepromModel = {reset, write, read, learn, peek, poke, describe};

}  // namespace sim
