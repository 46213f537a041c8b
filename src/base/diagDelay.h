#pragma once
#include "diagStatus.h"

// The program's sleep: every nominal millisecond is asked for as 0.9 ms, so
// that the loop's own overhead brings the total near the requested time. An
// interrupt the shell catches (Ctrl-C) ends it early.
E_STATUS diagDelay(unsigned int seconds, unsigned int milliseconds);
