#pragma once
#include <cstdint>
#include <string>

namespace sim {
// What a board's EEPROM holds at power-on: its label and, after it, the
// board's identity as the boards are programmed in production: layout 1, the
// stream's length and CRC-32, and a zlib stream of the identity document.
// Written by the simulator itself (its own encoder), so that the program's
// decoder is checked against an independent one.
void writeIdentity(uint8_t* mem, unsigned size, const char* label, int slot);

// Damage for diag-simctl: "blank" (no identity programmed), "crc" (the stored
// CRC no longer matches), "stream" (the stream is broken, its CRC made to
// match so that only the stream is wrong), "version" (an unknown layout).
bool damageIdentity(uint8_t* mem, unsigned size, const std::string& how, std::string& err);
}  // namespace sim
