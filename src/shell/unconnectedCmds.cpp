// Commands of the instrument that this build does not connect: listed by help and
// offered by completion, and "not connected to a function" when run.
#include "commands.h"

constinit const CmdDecl pingCmd = {.help = "Linux ping", .args = {.name = "ping"}};
constinit const CmdDecl tmpCmd = {.help = "Show Z9 core temperatures", .args = {.name = "tmp"}};
constinit const CmdDecl tmpwrCmd = {.help = "Write Z9 core temp sensor regs", .args = {.name = "tmpwr"}};
constinit const CmdDecl ledCmd = {.help = "Display LED driver regs", .args = {.name = "led"}};
constinit const CmdDecl ledwrCmd = {.help = "Write LED driver regs", .args = {.name = "ledwr"}};
constinit const CmdDecl ledshowCmd = {.help = "LED show", .args = {.name = "ledshow"}};
constinit const CmdDecl xfrCmd = {.help = "USB file transfer", .args = {.name = "xfr"}};
constinit const CmdDecl spiCmd = {.help = "SPI prober", .args = {.name = "spi"}};
constinit const CmdDecl rampCmd = {.help = "Ramp waveform", .args = {.name = "ramp"}};
constinit const CmdDecl mtmpCmd = {.help = "Show Z9 measurement board temperatures", .args = {.name = "mtmp"}};
constinit const CmdDecl mtmpwrCmd = {.help = "Write Z9 measurement board temp sensor regs", .args = {.name = "mtmpwr"}};
constinit const CmdDecl fpfpgaCmd = {.help = "Access Front Panel FPGA", .args = {.name = "fpfpga"}};
constinit const CmdDecl fptmpCmd = {.help = "Show Z9 front panel temperatures", .args = {.name = "fptmp"}};
constinit const CmdDecl fptmpwrCmd = {.help = "Write Z9 front panel temp sensor regs", .args = {.name = "fptmpwr"}};
constinit const CmdDecl enetCmd = {.help = "Ethernet probe", .args = {.name = "enet"}};
constinit const CmdDecl pinctrlCmd = {.help = "Access Core Processor PINCTRLx regs", .args = {.name = "pinctrl"}};
constinit const CmdDecl measCmd = {.help = "Measurement CPLD etc. access", .args = {.name = "meas"}};
constinit const CmdDecl compCmd = {.help = "Configure component map", .args = {.name = "comp"}};
constinit const CmdDecl pscCmd = {.help = "PSC FPGA access", .args = {.name = "psc"}};
constinit const CmdDecl imCmd = {.help = "Processor internal memory access", .args = {.name = "im"}};
constinit const CmdDecl oledCmd = {.help = "OLED access", .args = {.name = "oled"}};
constinit const CmdDecl eepromCmd = {.help = "EEPROM tester", .args = {.name = "eeprom"}};
constinit const CmdDecl pfcCmd = {.help = "PFC access", .args = {.name = "pfc"}};
constinit const CmdDecl rstCmd = {.help = "reset CPU", .args = {.name = "rst"}};
constinit const CmdDecl adcCmd = {.help = "ADC access", .args = {.name = "adc"}};
constinit const CmdDecl revCmd = {.help = "Print system revision", .args = {.name = "rev"}};
constinit const CmdDecl acqCmd = {.help = "Acquire samples", .args = {.name = "acq"}};
constinit const CmdDecl lineCmd = {.help = "Lines sync utility", .args = {.name = "line"}};
constinit const CmdDecl calcCmd = {.help = "Calculator", .args = {.name = "calc"}};
constinit const CmdDecl mrtmpCmd = {.help = "Show Z9 Main Reference temperatures", .args = {.name = "mrtmp"}};
constinit const CmdDecl mrtmpwrCmd = {.help = "Write Z9 Main Reference temp sensor regs", .args = {.name = "mrtmpwr"}};
constinit const CmdDecl mrefCmd = {.help = "Z9 Main Reference access", .args = {.name = "mref"}};
constinit const CmdDecl msdatCmd = {.help = "Z9 measurement data access", .args = {.name = "msdat"}};
constinit const CmdDecl matrixCmd = {.help = "Matrix/relay manipulator", .args = {.name = "matrix"}};
constinit const CmdDecl btCmd = {.help = "Blue Tooth manipulator", .args = {.name = "bt"}};
constinit const CmdDecl sfpCmd = {.help = "SFP access", .args = {.name = "sfp"}};
constinit const CmdDecl xmlCmd = {.help = "XML file access", .args = {.name = "xml"}};
constinit const CmdDecl sdCmd = {.help = "SD card tester", .args = {.name = "sd"}};
constinit const CmdDecl cfgCmd = {.help = "diagnostic configuration utility", .args = {.name = "cfg"}};
constinit const CmdDecl capCmd = {.help = "waveform capture utility", .args = {.name = "cap"}};
constinit const CmdDecl xthCmd = {.help = "external temp/humid ADC utility", .args = {.name = "xth"}};
constinit const CmdDecl rmpCmd = {.help = "ramp waveform (multiscreen)", .args = {.name = "rmp"}};
constinit const CmdDecl dtaCmd = {.help = "DTA test bed", .args = {.name = "dta"}};
