#pragma once
#include <string>

namespace sim {
struct SimState;

// The fixed system files the program consults: the sysfs entries of adapter 2
// and the installed-diagnostics files. Returns false for a path that does not exist.
// The simulated /vesta/diags/diag.cfg: the sample configuration the packages ship.
extern const char* const SAMPLE_CFG;
bool sysFileLookup(const SimState& s, const std::string& path, std::string* content, bool* isDir);
}  // namespace sim
