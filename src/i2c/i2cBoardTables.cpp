#include "i2cBoardTables.h"

namespace {
constexpr unsigned N = NO_MUX;
constexpr bool SMB = true, PLAIN = false;
constexpr bool Y = true, n = false;

// name, address, host, host channel, local channel, mode, board number, function, part,
// checked at power-on, absent on later revisions, skipped by the bus scan
const I2cDevMap::Entry mainHost[] = {
    {"hostsw", 0x71, MAIN, N, N, PLAIN, "0980", "Host I2C Switch", "PCA9545", n, n, n},
    {"hostmux", 0x74, MAIN, N, N, PLAIN, "0980", "Host I2C Multiplexer", "4-channel mux", n, Y, Y},
    {"mhEeprom", 0x56, MAIN, N, N, PLAIN, "0980", "Main Host EEPROM", "24LC32A", Y, n, n},
    {"commEeprom", 0x50, MAIN, 0, N, PLAIN, "0996", "Communications EEPROM", "24LC32A", Y, n, n},
    {"fctl", 0x52, MAIN, 1, N, SMB, "0995", "Fan Controller", "MAX31785", n, n, n},
    {"fcEeprom", 0x50, MAIN, 1, N, PLAIN, "0995", "Fan Control EEPROM", "24LC32A", Y, n, n},
    {"mrtmp1", 0x48, MAIN, 2, N, SMB, "0989", "Main Reference Temperature Sensor 1", "SA56004X", n, n, n},
    {"mrtmp2", 0x4C, MAIN, 2, N, SMB, "0989", "Main Reference Temperature Sensor 2", "SA56004X", n, n, n},
    {"mrEeprom", 0x50, MAIN, 2, N, PLAIN, "0989", "Main Reference EEPROM", "24LC32A", Y, n, n},
    {"bpEeprom", 0x50, MAIN, 3, N, PLAIN, "0970", "Back Plane EEPROM", "24LC32A", Y, n, n},
    {"fpsw", 0x72, MAIN, 3, N, PLAIN, "0970", "Front Panel I2C Switch", "PCA9545", n, n, n},
    {"fpmux", 0x75, MAIN, 3, N, PLAIN, "0970", "Front Panel I2C Multiplexer", "4-channel mux", n, Y, Y},
    {"smcEeprom", 0x50, MAIN, 3, 0, PLAIN, "1000", "SRC/Meas Connector EEPROM", "24LC32A", Y, n, n},
    {"fpfpga", 0x40, MAIN, 3, 1, SMB, "0981", "Front Panel FPGA", "", n, n, n},
    {"fpioEeprom", 0x50, MAIN, 3, 1, PLAIN, "0981", "Front Panel - Input/Output EEPROM", "24LC32A", Y, n, n},
    {"fprlyEeprom", 0x50, MAIN, 3, 3, PLAIN, "0997", "Front Panel - Relay EEPROM", "24LC32A", Y, n, n},
};

// The signal host's second-level selection is written to the front-panel
// multiplexer names, so the registry carries them here too.
const I2cDevMap::Entry signalHost[] = {
    {"shostsw", 0x70, SIGNAL, N, N, PLAIN, "0984", "Signal Host I2C Switch", "PCA9545", n, n, n},
    {"shostmux", 0x76, SIGNAL, N, N, PLAIN, "0984", "Signal Host I2C Multiplexer", "4-channel mux", n, Y, Y},
    {"fpsw", 0x72, SIGNAL, N, N, PLAIN, "0984", "Second-level I2C Switch", "PCA9545", n, n, Y},
    {"fpmux", 0x75, SIGNAL, N, N, PLAIN, "0984", "Second-level I2C Multiplexer", "4-channel mux", n, Y, Y},
    {"shEeprom", 0x50, SIGNAL, N, N, PLAIN, "0984", "Signal Host EEPROM", "24LC32A", Y, n, n},
    {"hvuc3", 0x21, SIGNAL, 1, N, SMB, "0976", "H.V. Source PSOC microcontroller - stage 3", "CY8C28545", Y, n, n},
    {"mc1i2cspi", 0x28, SIGNAL, 2, N, PLAIN, "0985", "Measure Channel 1 I2C to SPI Bridge", "", n, n, n},
    {"mc1Eeprom", 0x50, SIGNAL, 2, N, PLAIN, "0985", "Measure Channel 1 EEPROM", "24LC32A", Y, n, n},
    {"mc2i2cspi", 0x28, SIGNAL, 3, N, PLAIN, "0985", "Measure Channel 2 I2C to SPI Bridge", "", n, n, n},
    {"mc2Eeprom", 0x50, SIGNAL, 3, N, PLAIN, "0985", "Measure Channel 2 EEPROM", "24LC32A", Y, n, n},
};

const I2cDevMap::Entry frontPanel[] = {
    {"fpEeprom", 0x53, NONE, N, N, PLAIN, "0981", "Front Panel Processor EEPROM", "24C512", n, n, n},
};

const I2cDevMap::Entry mainRef[] = {
    {"mrefEeprom", 0x50, NONE, N, N, PLAIN, "0989", "Main Reference Processor EEPROM", "24C512", n, n, n},
};

template <size_t K>
constexpr I2cBoardTable table(const char* label, bool twoLevels, const I2cDevMap::Entry (&e)[K]) {
  return {label, twoLevels, e, K};
}
}  // namespace

const I2cBoardTable MAIN_HOST_TABLE = table("Main Host", true, mainHost);
const I2cBoardTable SIGNAL_HOST_TABLE = table("Signal Host", false, signalHost);
const I2cBoardTable FRONT_PANEL_TABLE = table("Front Panel", false, frontPanel);
const I2cBoardTable MAIN_REF_TABLE = table("Main Reference", false, mainRef);
