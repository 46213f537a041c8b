#pragma once
#include <string>

#include "diagStatus.h"

// The host board behind which an I2C chip sits. Only MAIN, SIGNAL and SIGNAL1
// have multiplexers to select.
enum E_HOST { NONE = 0, CORE = 1, MAIN = 2, SIGNAL = 3, SIGNAL1 = 4, MEAS = 5 };

// No multiplexer channel at this level.
constexpr unsigned NO_MUX = 0xFFFFFFFF;

// Which channel to select at each multiplexer level to reach one device.
// Selecting writes the control bytes to the multiplexer chips of the registry
// ("hostmux"/"fpmux"/"shostmux" on boards below revision 3, the PCA9545
// switches "hostsw"/"fpsw"/"shostsw" from revision 3). Channels stay selected
// after the access; the next selection overwrites them.
class I2CPath : public DiagObject {
public:
  I2CPath(std::string devName, E_HOST host, unsigned hostMux, unsigned localMux, unsigned long useSwitch);

  E_STATUS setMuxes(unsigned long verbose);
  E_STATUS setMnHstMux(unsigned long verbose);
  E_STATUS setMnLclMux(unsigned long verbose);
  E_STATUS setSigHstMux(unsigned long verbose);
  E_STATUS setSigLclMux(unsigned long verbose);
  void setUseSw(unsigned long on) { useSwitch = on; }

  char buf[20];
  unsigned long useSwitch;
  std::string devName;
  E_HOST host;
  unsigned hostMux;
  unsigned localMux;

private:
  E_STATUS selectLevel(const char* oldMux, const char* newSw, unsigned channel, bool pcaStyleAtRev3, unsigned long verbose);
};
