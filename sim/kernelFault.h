#pragma once
#include <sys/types.h>
#include <cstddef>
#include <string>
#include <vector>

#include "kernelFaultState.h"

namespace sim {
struct SimState;

// What an injected kernel fault does to one call: nothing (0), a failure
// (negative errno), or, for a read or write, fewer bytes (*n lowered).
// Each matching call counts towards the fault's skip and times.
int kernelFault(SimState& s, E_KOP op, int dev, unsigned long request, size_t* n);

// diag-simctl kernel ...: args[0] is "kernel".
int kernelCtl(SimState& s, const std::vector<std::string>& args, std::string& out);
std::string kernelCtlUsage();
}  // namespace sim
