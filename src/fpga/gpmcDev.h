#pragma once
#include "diagStatus.h"

// Placeholder until the FPGA device lands: only the logging switch.
class GpmcDev : public DiagObject {
public:
  static void logging(bool on) { sysLoggingOn = on; }
  static bool sysLoggingOn;
};
