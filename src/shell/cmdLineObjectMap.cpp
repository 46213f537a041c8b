#include "cmdLineObjectMap.h"

#include "commands.h"

CmdLineObjectMap* CmdLineObjectMap::pCLOM = nullptr;
bool CmdLineObjectMap::mapInitialized = false;

namespace {
struct CmdRow {
  const char* name;
  const char* help;
  CmdHandler cmd;
};

// Registration order. Commands whose handlers this build does not have are
// listed without one, so help and completion still offer them.
const CmdRow cmdTable[] = {
    {"runtest", "Run the specified test\n", testExec},
    {"listtests", "List the available tests\n", listTests},
    {"version", "Show the version of these diagnostics\n", version},
    {"i2c", "i2c utility\n", i2c},
    {"help", "Show the list of commands\n", help},
    {"ping", "Linux ping\n", nullptr},
    {"tmp", "Show Z9 core temperatures\n", nullptr},
    {"tmpwr", "Write Z9 core temp sensor regs\n", nullptr},
    {"led", "Display LED driver regs\n", nullptr},
    {"ledwr", "Write LED driver regs\n", nullptr},
    {"ledshow", "LED show\n", nullptr},
    {"xfr", "USB file transfer\n", nullptr},
    {"gpmc", "GPMC prober\n", gpmc},
    {"spi", "SPI prober\n", nullptr},
    {"delay", "Delay\n", cmdDelay},
    {"system", "Execute external program\n", system},
    {"ramp", "Ramp waveform\n", nullptr},
    {"mtmp", "Show Z9 measurement board temperatures\n", nullptr},
    {"mtmpwr", "Write Z9 measurement board temp sensor regs\n", nullptr},
    {"ta", "Timed Action test\n", cmdTmdAct},
    {"log", "Turn syslogging on/off\n", cmdLog},
    {"fpfpga", "Access Front Panel FPGA\n", nullptr},
    {"fptmp", "Show Z9 front panel temperatures\n", nullptr},
    {"fptmpwr", "Write Z9 front panel temp sensor regs\n", nullptr},
    {"enet", "Ethernet probe\n", nullptr},
    {"pinctrl", "Access Core Processor PINCTRLx regs\n", nullptr},
    {"fan", "Access controller (MAX31785) on Fan Controller board\n", fan},
    {"meas", "Measurement CPLD etc. access\n", nullptr},
    {"allok", "Check the all okay signal sources\n", allok},
    {"comp", "Configure component map\n", nullptr},
    {"psc", "PSC FPGA access\n", nullptr},
    {"im", "Processor internal memory access\n", nullptr},
    {"oled", "OLED access\n", nullptr},
    {"eeprom", "EEPROM tester\n", nullptr},
    {"pfc", "PFC access\n", nullptr},
    {"rst", "reset CPU\n", nullptr},
    {"adc", "ADC access\n", nullptr},
    {"rev", "Print system revision\n", nullptr},
    {"acq", "Acquire samples\n", nullptr},
    {"line", "Lines sync utility\n", nullptr},
    {"bg", "Background command executor\n", bg},
    {"calc", "Calculator\n", nullptr},
    {"utp", "Pause for UTP operation\n", utp},
    {"ec", "Error code information\n", errCode},
    // Scripts are run by the shell loop itself, never through dispatch.
    {"file", "Run diag script file\n", nullptr},
    {"mrtmp", "Show Z9 Main Reference temperatures\n", nullptr},
    {"mrtmpwr", "Write Z9 Main Reference temp sensor regs\n", nullptr},
    {"mref", "Z9 Main Reference access\n", nullptr},
    {"msdat", "Z9 measurement data access\n", nullptr},
    {"matrix", "Matrix/relay manipulator\n", nullptr},
    {"bt", "Blue Tooth manipulator\n", nullptr},
    {"sfp", "SFP access\n", nullptr},
    {"xml", "XML file access\n", nullptr},
    {"sd", "SD card tester\n", nullptr},
    {"cfg", "diagnostic configuration utility\n", nullptr},
    {"cap", "waveform capture utility\n", nullptr},
    {"xth", "external temp/humid ADC utility\n", nullptr},
    {"rmp", "ramp waveform (multiscreen)\n", nullptr},
    {"dta", "DTA test bed\n", nullptr},
};
}  // namespace

CmdLineObjectMap::CmdLineObjectMap() {
  mapInitialized = true;
  for (const CmdRow& r : cmdTable) map.insert(CLOMap::value_type(r.name, new CmdLineObject(r.name, r.help, r.cmd)));
}

CmdLineObjectMap* CmdLineObjectMap::getCmdLineMap() {
  if (!mapInitialized) pCLOM = new CmdLineObjectMap();
  return pCLOM;
}
