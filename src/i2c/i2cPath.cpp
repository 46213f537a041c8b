#include "i2cPath.h"

#include <cstring>

#include "log.h"
#include "rev.h"

namespace {
// The old muxes take the channel number with this enable bit.
constexpr unsigned char MUX_ENABLE = 0x04;
}  // namespace

I2cMuxNames I2CPath::muxNames(E_HOST host, E_MUX_LEVEL level) {
  // Both hosts reach their second level through the front-panel names.
  if (level == LOCAL_LEVEL && (host == MAIN || host == SIGNAL || host == SIGNAL1)) return {"fpmux", "fpsw"};
  if (host == MAIN) return {"hostmux", "hostsw"};
  if (host == SIGNAL || host == SIGNAL1) return {"shostmux", "shostsw"};
  return {nullptr, nullptr};
}

I2CPath::I2CPath(std::string devName, E_HOST host, unsigned hostMux, unsigned localMux, unsigned long useSwitch,
                 I2cPathMuxes muxes)
    : useSwitch(useSwitch),
      devName(std::move(devName)),
      host(host),
      hostMux(hostMux),
      localMux(localMux),
      muxes(muxes) {
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

E_STATUS I2CPath::setMnHstMux(unsigned long verbose) { return selectLevel(HOST_LEVEL, hostMux, true, verbose); }
E_STATUS I2CPath::setMnLclMux(unsigned long verbose) { return selectLevel(LOCAL_LEVEL, localMux, true, verbose); }
E_STATUS I2CPath::setSigHstMux(unsigned long verbose) { return selectLevel(HOST_LEVEL, hostMux, true, verbose); }
// The signal host's second level is written the old way, channel | 0x04, on every
// revision, also to the "fpsw" switch.
E_STATUS I2CPath::setSigLclMux(unsigned long verbose) { return selectLevel(LOCAL_LEVEL, localMux, false, verbose); }

// Writes one level's control byte to the multiplexer chip of this board revision.
// A failed control-byte write shows only in its message (when verbose): the
// result is that of tearDown.
E_STATUS I2CPath::selectLevel(E_MUX_LEVEL level, unsigned channel, bool pcaStyleAtRev3, unsigned long verbose) {
  int rev = 0;
  Rev().getRev(&rev);
  const bool switches = rev >= Rev::FIRST_SWITCH_REV;
  const I2cMuxLevel& chips = level == HOST_LEVEL ? muxes.host : muxes.local;
  I2cDev* mux = switches ? chips.sw : chips.mux;
  if (!mux) {
    I2cMuxNames names = muxNames(host, level);
    const char* name = switches ? names.sw : names.mux;
    LOGERR(LOG_TERM, "I2C device %s not found\n", name ? name : "(none)");
    return ENTRY_NOT_FOUND;
  }
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
