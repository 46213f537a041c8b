#pragma once
#include <cstdio>
#include <string>

#include "diagStatus.h"
#include "gpmcDevMap.h"
#include "gpmcFileDump.h"
#include "outFile.h"

// What the gpmc command was asked to do, as its option scan found it.
// Every field is set from the scan; only the dump file's, which the scan may
// leave alone, starts as none.
struct GpmcArgs {
  bool list, doWrite, doRead, silent, timeCycles, forceReset;
  bool sincorr, contRead, invert, ctf, caon, caoff;
  const char* devName;
  const char* outName = nullptr;
  const char* inName;
  E_GPMC_DUMP dumpKind = GPMC_DUMP_NONE;
  unsigned long nWr, nRd, data, offset, invFlag, invChan, ctfSamples;
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

// The FPGA's control registers, or nullptr with missingMsg said.
GpmcDev* regDev(GpmcDevMap& fpga, const char* missingMsg);

// The stages that follow the option scan, in their fixed order; each runs only
// while the command's status is still success.
E_STATUS gpmcStages(GpmcDevMap& fpga, const GpmcArgs& a, GpmcFiles& files);
