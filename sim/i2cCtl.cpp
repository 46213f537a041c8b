#include "simCtl.h"
#include "simState.h"

namespace sim {
std::string i2cCtlUsage() { return ""; }
int i2cCtl(SimState&, const std::vector<std::string>&, std::string& out) {
  out = "no I2C controls yet\n";
  return 2;
}
}  // namespace sim
