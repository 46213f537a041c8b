#pragma once
#include <string>

namespace sim {
struct SimState;

// The fixed system files the program consults: the sysfs entries of adapter 2
// and the installed-diagnostics files. Returns false for a path that does not exist.
// The simulated /vesta/diags/diag.cfg: the sample configuration the packages ship.
extern const char* const SAMPLE_CFG;
bool sysFileLookup(const SimState& s, const std::string& path, std::string* content, bool* isDir);
// The error a read of the file ends with now (0: it reads): a thermal zone
// whose sensor has failed answers EIO, as the kernel's driver does.
int sysFileReadError(const SimState& s, const std::string& path);
}  // namespace sim
