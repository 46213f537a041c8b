#include <cstdio>
#include <string>
#include <vector>

#include "simCtl.h"

// diag-simctl: configures the simulated instrument, injects faults and shows its state.
int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  std::string out;
  int rc = sim::simCtl(args, out);
  fputs(out.c_str(), rc == 0 ? stdout : stderr);
  return rc;
}
