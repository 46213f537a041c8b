#include "fpgaModel.h"

#include <cerrno>

#include "simState.h"

namespace sim {
void resetFpga(SimState&) {}
bool fpgaPresent(const SimState& s) { return s.cfg.board == BOARD_MAIN || s.cfg.board == BOARD_SIGNAL; }
int fpgaIoctl(SimState&, unsigned long, void*) { return -ENOTTY; }
ssize_t fpgaWrite(SimState&, const void*, size_t) { return -EINVAL; }
ssize_t fpgaRead(SimState&, void*, size_t) { return -EINVAL; }
}  // namespace sim
