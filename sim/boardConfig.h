#pragma once
#include <cstdint>
#include <string>

// Which instrument the simulator is: the board the program runs on, its
// revision and the variants that differ between boards of one revision.
// These are the simulator's own statement of the board facts.
namespace sim {

enum Board : uint32_t { BOARD_MAIN = 0, BOARD_SIGNAL = 1, BOARD_FRONT_PANEL = 2, BOARD_MAIN_REF = 3 };
// Each PCA9545 is named "pca9545APW" at its first address or "pca9545" at its second.
// An undeclared one answers at its first address but the system's device list
// does not have it (a device tree that leaves it out): no entry in sysfs.
enum SwVariant : uint8_t { SW_APW = 0, SW_PLAIN = 1, SW_UNDECLARED = 2 };
enum SwIndex { SW_HOST = 0, SW_FP = 1, SW_SHOST = 2, SW_COUNT = 3 };
// The I2C controller that adapter 2 is: the instrument's own (the processor's
// OMAP-family controller, which carries no SMBus quick command, no zero-length
// message and no variable-length block read), or a full-featured one such as
// the kernel's I2C stub.
enum AdapterKind : uint32_t { ADAPTER_OMAP = 0, ADAPTER_FULL = 1, ADAPTER_SMBUS = 2 };
// The main-reference sensors' channels: the die itself and the diode on the board.
enum SensorChannel { CH_LOCAL = 0, CH_REMOTE = 1 };
constexpr int MREF_SENSORS = 2;
// The processor's thermal zones in sysfs, each with its fixed type.
constexpr int THERMAL_ZONES = 4;

struct BoardConfig {
  uint32_t board;
  uint32_t rev;
  uint8_t swVariant[SW_COUNT];
  uint8_t mrefSensorAddr;  // 0x48 or 0x4D
  uint32_t localTempMilliC;  // temperature the sensors report
  uint32_t adapter;          // AdapterKind
  // What the instrument measures, kept by power-cycle like the rest: each
  // main-reference sensor's local and remote temperature in eighths of a
  // degree (its resolution), whether its remote diode is open, and the
  // thermal zones that are there with their temperatures.
  int16_t sensorEighths[MREF_SENSORS][2];
  uint8_t remoteOpen[MREF_SENSORS];
  uint8_t zonePresent[THERMAL_ZONES];
  uint8_t zoneFault[THERMAL_ZONES];  // ZoneFault
  int32_t zoneMilliC[THERMAL_ZONES];
};

// How a thermal zone's temperature file reads: as the kernel writes it, not at
// all (EIO), in degrees with a fraction, as a driver that has the unit wrong
// would give it, or empty.
enum ZoneFault : uint8_t { ZONE_READS, ZONE_FAILED, ZONE_IN_DEGREES, ZONE_EMPTY };

void defaultConfig(BoardConfig& cfg);
bool usesSwitches(const BoardConfig& cfg);  // revision 3 and later
// Address and sysfs name of a PCA9545 on this board.
int switchAddr(const BoardConfig& cfg, SwIndex sw);
const char* switchName(const BoardConfig& cfg, SwIndex sw);
// The SwVariant a name gives, -1 for none.
int switchVariant(const std::string& name);
const char* boardName(uint32_t board);
const char* adapterName(uint32_t adapter);
const char* zoneType(int zone);
// Every sensor channel at one temperature (thousandths of a degree).
void setAllSensors(BoardConfig& cfg, int32_t milliC);

}  // namespace sim
