#pragma once
#include <map>
#include <string>
#include <vector>

#include "gpmcDev.h"

// The process-wide registry of FPGA word ports by name, built on first use and
// kept until the process ends. "oled" and "psocbuf" are two ports on one target.
class GpmcDevMap : public DiagObject {
public:
  // The named port, or null.
  static GpmcDev* find(const std::string& name);
  // Every name, in the registry's order.
  static std::vector<std::string> names();

private:
  GpmcDevMap();
  static GpmcDevMap& getGpmcDevMap();
  std::map<std::string, GpmcDev> map;
};
