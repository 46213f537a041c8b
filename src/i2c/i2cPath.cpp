#include "i2cPath.h"

#include <cerrno>
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

I2CPath::I2CPath(std::string devName, E_HOST host, unsigned hostMux, unsigned localMux, I2cPathMuxes muxes)
    : devName(std::move(devName)), host(host), hostMux(hostMux), localMux(localMux), muxes(muxes) {}

E_STATUS I2CPath::setMuxes(unsigned long verbose, int fd) {
  if (hostMux == NO_MUX) return SUCCESS;
  E_STATUS status = SUCCESS;
  if (host == MAIN) {
    status = setMnHstMux(verbose, fd);
    if (status == SUCCESS && localMux != NO_MUX) status = setMnLclMux(verbose, fd);
  } else if (host == SIGNAL || host == SIGNAL1) {
    status = setSigHstMux(verbose, fd);
    if (status == SUCCESS && localMux != NO_MUX) status = setSigLclMux(verbose, fd);
  }
  return status;
}

E_STATUS I2CPath::setMnHstMux(unsigned long verbose, int fd) { return selectLevel(HOST_LEVEL, hostMux, true, verbose, fd); }
E_STATUS I2CPath::setMnLclMux(unsigned long verbose, int fd) { return selectLevel(LOCAL_LEVEL, localMux, true, verbose, fd); }
E_STATUS I2CPath::setSigHstMux(unsigned long verbose, int fd) { return selectLevel(HOST_LEVEL, hostMux, true, verbose, fd); }
// The signal host's second level is written the old way, channel | 0x04, on every
// revision, also to the "fpsw" switch.
E_STATUS I2CPath::setSigLclMux(unsigned long verbose, int fd) {
  return selectLevel(LOCAL_LEVEL, localMux, false, verbose, fd);
}

// Writes one level's control byte to the multiplexer chip of this board revision.
E_STATUS I2CPath::selectLevel(E_MUX_LEVEL level, unsigned channel, bool pcaStyleAtRev3, unsigned long verbose, int fd) {
  int rev = 0;
  if (muxes.rev)
    rev = muxes.rev->rev();
  else
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
  if (switches && pcaStyleAtRev3)
    buf[0] = static_cast<char>(1u << (channel & 0x1F));
  else
    buf[0] = static_cast<char>(channel | MUX_ENABLE);
  return writeControl(mux, switches, verbose, fd);
}

// The control byte in buf[0], written and read back through the device's descriptor.
E_STATUS I2CPath::writeControl(I2cDev* mux, bool isSwitch, unsigned long verbose, int fd) {
  const char* kind = isSwitch ? "switch" : "multiplexer";
  const auto ctl = static_cast<unsigned char>(buf[0]);
  unsigned char held = 0;
  bool taken = false;
  E_STATUS status = mux->wrRdBackOn(fd, ctl, &held, &taken, verbose == 0);
  int err = errno;
  if (status == FXN_NOT_SUPPORTED) return status;  // the refusal named the adapter
  if (!taken) {
    LOGERR(LOG_TERM, "I2C %s %s(0x%02x) did not take control byte 0x%02x selecting the path to %s\n", kind,
           mux->name.c_str(), mux->address, ctl, devName.c_str());
    logErrno(LOG_TERM, err);
    return status;
  }
  // A switch's upper bits are its interrupt inputs; a mux uses the lower three.
  const unsigned char mask = isSwitch ? 0x0F : 0x07;
  if (status == SUCCESS && (held & mask) == (ctl & mask)) return SUCCESS;
  if (status == SUCCESS) {
    LOGERR(LOG_TERM, "I2C %s %s(0x%02x) holds 0x%02x after control byte 0x%02x selecting the path to %s\n", kind,
           mux->name.c_str(), mux->address, held & mask, ctl, devName.c_str());
    return FAILURE;
  }
  LOGERR(LOG_TERM, "I2C %s %s(0x%02x) did not let its control byte be read back, selecting the path to %s\n", kind,
         mux->name.c_str(), mux->address, devName.c_str());
  logErrno(LOG_TERM, err);
  return FAILURE;
}
