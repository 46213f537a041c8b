#pragma once
#include <map>
#include <string>
#include <vector>

#include "gpmcDev.h"

// The FPGA's word ports by name, on the one device file: "ibuf", "obuf",
// "fgen", "reg", and "oled" and "psocbuf", two ports on one target. The board
// holds it for the life of the program.
class GpmcDevMap {
public:
  explicit GpmcDevMap(ProgramSem& sem);
  // The named port, or null.
  GpmcDev* find(const std::string& name);
  // Every name, in the registry's order.
  std::vector<std::string> names() const;
  // FPGA logging: the ports' error reports go to the system log too.
  void logging(bool on) { device.sysLoggingOn = on; }
  // The FPGA trigger's pulse that flag 4 of the log asks for: the primary
  // source switched on and at once off again, through the register port.
  void pulseTrigger();

  GpmcDevice device;

private:
  std::map<std::string, GpmcDev> map;
};
