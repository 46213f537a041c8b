#pragma once
#include "diagStatus.h"

// What the fuzz targets keep from running: commands whose job is to wait or to
// start other programs, and values that would make a command run for seconds.
// A target asks before every handler call; the line is then passed over.

// Why the command line is not run (a short reason), or nullptr when it may run.
// Row 0 names the command, as the dispatcher hands it to the handler.
const char* whyNotRun(int argc, char argv[][ARG_LEN]);

// The rules above, one line each, as the targets print them once at start.
const char* boundsText();
