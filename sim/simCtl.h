#pragma once
#include <string>
#include <vector>

namespace sim {
struct SimState;

// The simulator's control surface: configuration, faults and inspection, used
// by diag-simctl and by the tests. Returns 0 on success; text for the user in out.
int simCtl(const std::vector<std::string>& args, std::string& out);

// The parts of the control surface that belong to each model; args[0] is the
// model word ("fpga", "i2c").
int fpgaCtl(SimState& s, const std::vector<std::string>& args, std::string& out);
int i2cCtl(SimState& s, const std::vector<std::string>& args, std::string& out);
std::string fpgaCtlUsage();
std::string i2cCtlUsage();

// Number with base detection ("0x" hexadecimal, leading 0 octal); false when not a number.
bool parseNum(const std::string& text, unsigned long* value);
}  // namespace sim
