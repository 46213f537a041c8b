#pragma once
#include <string>

#include "i2cDev.h"
#include "rev.h"

// The two levels of multiplexers between the processor and a chip.
enum E_MUX_LEVEL { HOST_LEVEL, LOCAL_LEVEL };

// The registry names of the chips that select one level: the 4-channel mux of
// boards below revision 3 and the PCA9545 switch that took its place.
struct I2cMuxNames {
  const char* mux;
  const char* sw;
};

// Those chips themselves, as the registry hands them to a path; null where
// the board has no such device.
struct I2cMuxLevel {
  I2cDev* mux = nullptr;
  I2cDev* sw = nullptr;
};

// What a path is handed by the registry: the chips of each level, and the
// board revision as the command sees it (null: read from the file at each
// selection).
struct I2cPathMuxes {
  I2cMuxLevel host;
  I2cMuxLevel local;
  RevCache* rev = nullptr;
};

// Which channel to select at each multiplexer level to reach one device.
// Selecting writes the control bytes to the chips the path was handed, the
// muxes or the switches as the board revision read for that selection says,
// through the adapter descriptor the device itself opened. Each control byte
// is read back: a chip that does not acknowledge it, or does not hold it
// afterwards, fails the selection with a line naming that chip, since the
// access would otherwise reach whichever chip the old selection left on the
// bus. Channels stay selected after the access; the next selection
// overwrites them.
class I2CPath {
public:
  // The chips a path behind host selects at a level; null names where the
  // host has no multiplexers.
  static I2cMuxNames muxNames(E_HOST host, E_MUX_LEVEL level);

  I2CPath(std::string devName, E_HOST host, unsigned hostMux, unsigned localMux, I2cPathMuxes muxes);

  // fd: the open adapter of the device the path leads to. verbose adds the
  // write's own message to a failed control byte's.
  E_STATUS setMuxes(unsigned long verbose, int fd);
  E_STATUS setMnHstMux(unsigned long verbose, int fd);
  E_STATUS setMnLclMux(unsigned long verbose, int fd);
  E_STATUS setSigHstMux(unsigned long verbose, int fd);
  E_STATUS setSigLclMux(unsigned long verbose, int fd);

  char buf[20] = {};
  std::string devName;
  E_HOST host;
  unsigned hostMux;
  unsigned localMux;

private:
  E_STATUS selectLevel(E_MUX_LEVEL level, unsigned channel, bool pcaStyleAtRev3, unsigned long verbose, int fd);
  E_STATUS writeControl(I2cDev* mux, bool isSwitch, unsigned long verbose, int fd);
  I2cPathMuxes muxes;
};
