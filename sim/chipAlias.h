#pragma once
#include <string>
#include <vector>

namespace sim {

// The simulator names its chips in its own way (bp-eeprom); the program's
// device registry, and so an operator reading i2c -l, names them otherwise
// (bpEeprom). diag-simctl takes either. The list is the simulator's own
// statement of those names, never read from the program's tables: the
// simulator checks the program, it does not mirror it.
//
// The arguments of a diag-simctl i2c command with a chip named the program's
// way renamed the simulator's way (other words are left as they are).
std::vector<std::string> withSimChipNames(const std::vector<std::string>& args);
// The line that follows "unknown chip NAME": where the names are listed.
const char* chipNameHint();

}  // namespace sim
