#pragma once
#include <map>
#include <string>

#include "gpmcDev.h"

typedef std::map<std::string, GpmcDev*> GpmcDevMapT;

// The process-wide registry of FPGA access targets by name, built on first use
// and kept until the process ends. "oled" and "psocbuf" are two objects on one target.
class GpmcDevMap : public DiagObject {
public:
  static GpmcDevMap* getGpmcDevMap();
  // The named target, or null.
  static GpmcDev* find(const std::string& name);
  GpmcDevMapT map;

private:
  GpmcDevMap();
  static GpmcDevMap* pGpmcDevM;
  static bool mapInitialized;
};
