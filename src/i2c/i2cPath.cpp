#include "i2cPath.h"

#include <cstring>

#include "i2cDev.h"
#include "i2cDevMap.h"
#include "log.h"
#include "rev.h"

namespace {
// Revision at which the 4-channel muxes gave way to PCA9545 switches.
constexpr int FIRST_SWITCH_REV = 3;
// The old muxes take the channel number with this enable bit.
constexpr unsigned char MUX_ENABLE = 0x04;
}  // namespace

I2CPath::I2CPath(std::string devName, E_HOST host, unsigned hostMux, unsigned localMux, unsigned long useSwitch)
    : useSwitch(useSwitch), devName(std::move(devName)), host(host), hostMux(hostMux), localMux(localMux) {
  memset(buf, 0, sizeof buf);
}

E_STATUS I2CPath::setMuxes(unsigned long verbose) {
  if (hostMux == NO_MUX) return SUCCESS;
  E_STATUS status = SUCCESS;
  if (host == MAIN) {
    status = setMnHstMux(verbose);
    if (status == SUCCESS && localMux != NO_MUX) status = setMnLclMux(verbose);
  } else if (host == SIGNAL || host == SIGNAL1) {
    status = setSigHstMux(verbose);
    if (status == SUCCESS && localMux != NO_MUX) status = setSigLclMux(verbose);
  }
  return status;
}

E_STATUS I2CPath::setMnHstMux(unsigned long verbose) { return selectLevel("hostmux", "hostsw", hostMux, true, verbose); }
E_STATUS I2CPath::setMnLclMux(unsigned long verbose) { return selectLevel("fpmux", "fpsw", localMux, true, verbose); }
E_STATUS I2CPath::setSigHstMux(unsigned long verbose) {
  return selectLevel("shostmux", "shostsw", hostMux, true, verbose);
}
// The signal host's second level is written the old way, channel | 0x04, on every
// revision, also to the "fpsw" switch.
E_STATUS I2CPath::setSigLclMux(unsigned long verbose) { return selectLevel("fpmux", "fpsw", localMux, false, verbose); }

// Writes one level's control byte to the multiplexer chip of this board revision.
// A failed control-byte write shows only in its message (when verbose): the
// result is that of tearDown.
E_STATUS I2CPath::selectLevel(const char* oldMux, const char* newSw, unsigned channel, bool pcaStyleAtRev3,
                              unsigned long verbose) {
  int rev = 0;
  Rev().getRev(&rev);
  bool switches = rev >= FIRST_SWITCH_REV;
  const char* muxName = switches ? newSw : oldMux;
  I2cDevNameMap& devs = I2cDevMap::getI2cDevMap()->map;
  auto it = devs.find(muxName);
  if (it == devs.end()) {
    LOGERR(LOG_TERM, "I2C device %s not found\n", muxName);
    return ENTRY_NOT_FOUND;
  }
  I2cDev* mux = it->second;
  E_STATUS status = mux->setUp();
  if (status != SUCCESS) return status;
  if (switches && pcaStyleAtRev3)
    buf[0] = static_cast<char>(1u << (channel & 0x1F));
  else
    buf[0] = static_cast<char>(channel | MUX_ENABLE);
  int written = 0;
  status = mux->wrBytes(buf, 1, &written, verbose == 0);
  if (status == SUCCESS && written < 1) status = FAILURE;
  return mux->tearDown();
}
