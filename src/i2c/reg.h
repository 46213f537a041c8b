#pragma once
#include <string>
#include <vector>

// Access kind of a register: read-write, read-only, write-only, or described by its bit fields.
enum E_ACCESS { RW = 0, RO = 1, WO = 2, BF = 3 };

// One bit field of a register.
struct RegFld {
  std::string name;
  unsigned int msb;
  unsigned int lsb;
  E_ACCESS access;
};

// A field's value in a register's value: its bits msb down to lsb, shifted down.
inline unsigned fieldValue(unsigned value, const RegFld& f) { return (value >> f.lsb) & ((2u << (f.msb - f.lsb)) - 1); }

// A register description: name, command code or offset, width, the last value
// read, display colour flag, page, access kind and bit fields.
struct Reg {
  const char* pName;
  unsigned int offset;
  unsigned int width;
  unsigned int regContents;
  bool prRedOrGreen;
  unsigned int page;
  E_ACCESS access;
  std::vector<RegFld> fields;
};
