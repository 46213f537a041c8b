#include "simCtl.h"
#include "simState.h"

namespace sim {
std::string fpgaCtlUsage() { return ""; }
int fpgaCtl(SimState&, const std::vector<std::string>&, std::string& out) {
  out = "no FPGA controls yet\n";
  return 2;
}
}  // namespace sim
