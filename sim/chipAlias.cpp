#include "chipAlias.h"

namespace sim {

namespace {
struct Alias {
  const char* program;
  const char* sim;
};
// Switches, muxes, the fan controller, the sensors and the register files carry one name on both sides.
const Alias aliases[] = {
    {"mhEeprom", "mh-eeprom"},       {"commEeprom", "comm-eeprom"},   {"fcEeprom", "fc-eeprom"},
    {"mrEeprom", "mr-eeprom"},       {"bpEeprom", "bp-eeprom"},       {"smcEeprom", "smc-eeprom"},
    {"fpioEeprom", "fpio-eeprom"},   {"fprlyEeprom", "fprly-eeprom"}, {"shEeprom", "sh-eeprom"},
    {"mc1Eeprom", "mc1-eeprom"},     {"mc2Eeprom", "mc2-eeprom"},     {"fpEeprom", "fpp-eeprom"},
    {"mrefEeprom", "mrp-eeprom"},
};
}  // namespace

std::vector<std::string> withSimChipNames(const std::vector<std::string>& args) {
  std::vector<std::string> out = args;
  if (out.size() < 3 || out[0] != "i2c") return out;
  for (const Alias& a : aliases)
    if (out[2] == a.program) out[2] = a.sim;
  return out;
}

const char* chipNameHint() {
  return "diag-simctl i2c list names the chips of this board (the program's names, such as bpEeprom, are taken too)";
}

}  // namespace sim
