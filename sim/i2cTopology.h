#pragma once
#include <algorithm>
#include <array>
#include <cstddef>
#include <string>

#include "boardConfig.h"
#include "i2cState.h"

namespace sim {
struct SimState;

// The simulator's own statement of which chips hang where on the instrument.
enum I2cChipId {
  CHIP_HOSTSW, CHIP_FPSW, CHIP_SHOSTSW, CHIP_HOSTMUX, CHIP_FPMUX, CHIP_SHOSTMUX,
  CHIP_MH_EEPROM, CHIP_COMM_EEPROM, CHIP_FCTL, CHIP_FC_EEPROM, CHIP_MRTMP1, CHIP_MRTMP2, CHIP_MR_EEPROM,
  CHIP_BP_EEPROM, CHIP_SMC_EEPROM, CHIP_FPFPGA, CHIP_FPIO_EEPROM, CHIP_FPRLY_EEPROM,
  CHIP_SH_EEPROM, CHIP_HVUC3, CHIP_MC1SPI, CHIP_MC1_EEPROM, CHIP_MC2SPI, CHIP_MC2_EEPROM,
  CHIP_FPP_EEPROM, CHIP_MRP_EEPROM,
  CHIP_NONE = -1
};
static_assert(CHIP_MRP_EEPROM + 1 == I2C_CHIPS, "chip count");

enum ChipKind { KIND_SWITCH, KIND_MUX, KIND_EEPROM, KIND_FANCTL, KIND_TEMP, KIND_REGFILE };

struct ChipInfo {
  const char* name;  // name in the control surface
  ChipKind kind;
  int slot;          // index into the model's state array
  const char* part;
  const char* idText;  // EEPROMs: identification text at the start of the memory
};

// Where a fitted chip is: its adapter and address, and the switch channel it hangs on.
struct ChipSite {
  I2cChipId id;
  int adapter;
  int addr;
  I2cChipId parent;  // CHIP_NONE: directly on the adapter
  int channel;
};

// A list with at most one entry per chip, held without allocating: every
// transfer on the simulated bus makes one of the fitted chips and one of those
// that answer it.
template <typename T>
class PerChip {
public:
  void push_back(const T& v) {
    if (n < at.size()) at[n++] = v;
  }
  // Applies pred to every entry once, in order, and drops those it is true for.
  template <typename Pred>
  void eraseIf(Pred pred) {
    n = static_cast<size_t>(std::remove_if(begin(), end(), pred) - begin());
  }
  T* begin() { return at.data(); }
  T* end() { return at.data() + n; }
  const T* begin() const { return at.data(); }
  const T* end() const { return at.data() + n; }
  bool empty() const { return n == 0; }

private:
  std::array<T, I2C_CHIPS> at;  // only the first n are ever read
  size_t n = 0;
};
using ChipSites = PerChip<ChipSite>;

const ChipInfo& chipInfo(int id);
I2cChipId chipByName(const std::string& name);
// The chips fitted on the board the configuration describes.
ChipSites topology(const BoardConfig& cfg);
// True when every switch on the chip's path is fitted and selects it.
bool routed(const SimState& s, const ChipSites& sites, const ChipSite& site);
// "hostsw.3 fpsw.1", or "direct".
std::string pathText(const ChipSites& sites, const ChipSite& site);

}  // namespace sim
