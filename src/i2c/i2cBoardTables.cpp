#include "i2cBoardTables.h"

namespace {
// The 24LC32A EEPROMs are checked at power-on. Boards below revision 3 have
// 4-channel muxes where later ones have PCA9545 switches: each board has only
// one of the two. Chips that can be on the bus at the same time have different
// addresses: the memories on the host channels all answer at 0x50 because only
// one host channel is open at a time, and those behind the front-panel switch
// have addresses of their own, since the back-plane memory on the same host
// channel shares the bus with whichever front-panel channel is still open.
const I2cBoardEntry mainHost[] = {
    {.dev = {.name = "hostsw", .address = 0x71, .host = MAIN, .notOnEarlyRevs = true},
     .boardNo = "0980", .function = "Host I2C Switch", .part = "PCA9545"},
    {.dev = {.name = "hostmux", .address = 0x74, .host = MAIN, .notOnLaterRevs = true},
     .boardNo = "0980", .function = "Host I2C Multiplexer", .part = "4-channel mux"},
    {.dev = {.name = "mhEeprom", .address = 0x56, .host = MAIN, .axsTestedDuringPOST = true},
     .boardNo = "0980", .function = "Main Host EEPROM", .part = "24LC32A"},
    {.dev = {.name = "commEeprom", .address = 0x50, .host = MAIN, .hostMux = 0, .axsTestedDuringPOST = true},
     .boardNo = "0996", .function = "Communications EEPROM", .part = "24LC32A"},
    {.dev = {.name = "fctl", .address = 0x52, .host = MAIN, .hostMux = 1, .smbus = true},
     .boardNo = "0995", .function = "Fan Controller", .part = "MAX31785"},
    {.dev = {.name = "fcEeprom", .address = 0x50, .host = MAIN, .hostMux = 1, .axsTestedDuringPOST = true},
     .boardNo = "0995", .function = "Fan Control EEPROM", .part = "24LC32A"},
    {.dev = {.name = "mrtmp1", .address = 0x48, .host = MAIN, .hostMux = 2, .smbus = true},
     .boardNo = "0989", .function = "Main Reference Temperature Sensor 1", .part = "SA56004X"},
    {.dev = {.name = "mrtmp2", .address = 0x4C, .host = MAIN, .hostMux = 2, .smbus = true},
     .boardNo = "0989", .function = "Main Reference Temperature Sensor 2", .part = "SA56004X"},
    {.dev = {.name = "mrEeprom", .address = 0x50, .host = MAIN, .hostMux = 2, .axsTestedDuringPOST = true},
     .boardNo = "0989", .function = "Main Reference EEPROM", .part = "24LC32A"},
    {.dev = {.name = "bpEeprom", .address = 0x50, .host = MAIN, .hostMux = 3, .axsTestedDuringPOST = true},
     .boardNo = "0970", .function = "Back Plane EEPROM", .part = "24LC32A"},
    {.dev = {.name = "fpsw", .address = 0x72, .host = MAIN, .hostMux = 3, .notOnEarlyRevs = true},
     .boardNo = "0970", .function = "Front Panel I2C Switch", .part = "PCA9545"},
    {.dev = {.name = "fpmux", .address = 0x75, .host = MAIN, .hostMux = 3, .notOnLaterRevs = true},
     .boardNo = "0970", .function = "Front Panel I2C Multiplexer", .part = "4-channel mux"},
    {.dev = {.name = "smcEeprom", .address = 0x54, .host = MAIN, .hostMux = 3, .localMux = 0,
             .axsTestedDuringPOST = true},
     .boardNo = "1000", .function = "SRC/Meas Connector EEPROM", .part = "24LC32A"},
    {.dev = {.name = "fpfpga", .address = 0x40, .host = MAIN, .hostMux = 3, .localMux = 1, .smbus = true},
     .boardNo = "0981", .function = "Front Panel FPGA"},
    {.dev = {.name = "fpioEeprom", .address = 0x55, .host = MAIN, .hostMux = 3, .localMux = 1,
             .axsTestedDuringPOST = true},
     .boardNo = "0981", .function = "Front Panel - Input/Output EEPROM", .part = "24LC32A"},
    {.dev = {.name = "fprlyEeprom", .address = 0x57, .host = MAIN, .hostMux = 3, .localMux = 3,
             .axsTestedDuringPOST = true},
     .boardNo = "0997", .function = "Front Panel - Relay EEPROM", .part = "24LC32A"},
};

// The signal host's second-level selection is written to the front-panel
// multiplexer names, so the registry carries them here too.
const I2cBoardEntry signalHost[] = {
    {.dev = {.name = "shostsw", .address = 0x70, .host = SIGNAL, .notOnEarlyRevs = true},
     .boardNo = "0984", .function = "Signal Host I2C Switch", .part = "PCA9545"},
    {.dev = {.name = "shostmux", .address = 0x76, .host = SIGNAL, .notOnLaterRevs = true},
     .boardNo = "0984", .function = "Signal Host I2C Multiplexer", .part = "4-channel mux"},
    {.dev = {.name = "fpsw", .address = 0x72, .host = SIGNAL, .notOnEarlyRevs = true, .scanTstIgnore = true},
     .boardNo = "0984", .function = "Second-level I2C Switch", .part = "PCA9545"},
    {.dev = {.name = "fpmux", .address = 0x75, .host = SIGNAL, .notOnLaterRevs = true, .scanTstIgnore = true},
     .boardNo = "0984", .function = "Second-level I2C Multiplexer", .part = "4-channel mux"},
    {.dev = {.name = "shEeprom", .address = 0x50, .host = SIGNAL, .axsTestedDuringPOST = true},
     .boardNo = "0984", .function = "Signal Host EEPROM", .part = "24LC32A"},
    {.dev = {.name = "hvuc3", .address = 0x21, .host = SIGNAL, .hostMux = 1, .smbus = true,
             .axsTestedDuringPOST = true},
     .boardNo = "0976", .function = "H.V. Source PSOC microcontroller - stage 3", .part = "CY8C28545"},
    {.dev = {.name = "mc1i2cspi", .address = 0x28, .host = SIGNAL, .hostMux = 2},
     .boardNo = "0985", .function = "Measure Channel 1 I2C to SPI Bridge"},
    {.dev = {.name = "mc1Eeprom", .address = 0x51, .host = SIGNAL, .hostMux = 2, .axsTestedDuringPOST = true},
     .boardNo = "0985", .function = "Measure Channel 1 EEPROM", .part = "24LC32A"},
    {.dev = {.name = "mc2i2cspi", .address = 0x28, .host = SIGNAL, .hostMux = 3},
     .boardNo = "0985", .function = "Measure Channel 2 I2C to SPI Bridge"},
    {.dev = {.name = "mc2Eeprom", .address = 0x51, .host = SIGNAL, .hostMux = 3, .axsTestedDuringPOST = true},
     .boardNo = "0985", .function = "Measure Channel 2 EEPROM", .part = "24LC32A"},
};

const I2cBoardEntry frontPanel[] = {
    {.dev = {.name = "fpEeprom", .address = 0x53},
     .boardNo = "0981", .function = "Front Panel Processor EEPROM", .part = "24C512"},
};

const I2cBoardEntry mainRef[] = {
    {.dev = {.name = "mrefEeprom", .address = 0x50},
     .boardNo = "0989", .function = "Main Reference Processor EEPROM", .part = "24C512"},
};
}  // namespace

const I2cBoardTable MAIN_HOST_TABLE = {"Main Host", true, mainHost};
const I2cBoardTable SIGNAL_HOST_TABLE = {"Signal Host", false, signalHost};
const I2cBoardTable FRONT_PANEL_TABLE = {"Front Panel", false, frontPanel};
const I2cBoardTable MAIN_REF_TABLE = {"Main Reference", false, mainRef};
