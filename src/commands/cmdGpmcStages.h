#pragma once
#include <cstdio>
#include <string>

#include "diagStatus.h"
#include "gpmcDevMap.h"
#include "gpmcFileDump.h"
#include "outFile.h"

// What the gpmc command was asked to do, as its option scan found it.
struct GpmcArgs {
  bool list = false, doWrite = false, doRead = false, silent = false, timeCycles = false, forceReset = false;
  bool sincorr = false, contRead = false, invert = false, ctf = false, caon = false, caoff = false;
  const char* devName = nullptr;
  const char* outName = nullptr;
  const char* inName = nullptr;
  E_GPMC_DUMP dumpKind = GPMC_DUMP_NONE;
  unsigned long nWr = 1, nRd = 1, data = 0, offset = 0, invFlag = 0, invChan = 0, ctfSamples = 0;
};

// The files a command works with; closed whatever way the command ends. The
// dump file is checked at every block and when the command closes it.
struct GpmcFiles {
  OutFile out;
  FILE* in = nullptr;
  ~GpmcFiles() {
    if (in) fclose(in);
  }
};

// The transfer buffer of -w.
constexpr unsigned long GPMC_XFER_WORDS = 257;

// The stages that follow the option scan, in their fixed order; each runs only
// while the command's status is still success.
E_STATUS gpmcStages(GpmcDevMap& fpga, const GpmcArgs& a, GpmcFiles& files);
