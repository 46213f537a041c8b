#pragma once
#include <cstdio>

#include "gpmcDev.h"

// The FPGA's sample paths outside the word loops: blocks of input-buffer
// samples copied to a file as the A2D writes them, and the driver's own
// acquisition buffer. Both go to the driver through a port's own requests,
// without the GPMC semaphore. Built for the operation at hand; it keeps no
// state of its own.
class GpmcDevBuf {
public:
  explicit GpmcDevBuf(GpmcDev& port) : port(port) {}
  // Writes n blocks of four input-buffer words, one "%04x" line each.
  E_STATUS rdOBufToFile(FILE* f, int n);
  // Has the driver prepare its acquisition buffer, and maps it.
  E_STATUS GPMCPreventDriverOverflow();

private:
  GpmcDev& port;
};
