#include "fpgaModel.h"

#include <cerrno>

#include "simState.h"

namespace sim {
void resetFpga(SimState&) {}
int fpgaIoctl(SimState&, unsigned long, void*) { return -ENOTTY; }
ssize_t fpgaWrite(SimState&, const void*, size_t) { return -EINVAL; }
ssize_t fpgaRead(SimState&, void*, size_t) { return -EINVAL; }
}  // namespace sim
