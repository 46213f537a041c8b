#pragma once
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "board.h"

// The world every fuzz target runs in, set up once per process by its first
// input: a simulated instrument in the process's own memory (no state file),
// a fresh directory as the working directory (so that files a command writes
// stay there), standard input at its end and standard output thrown
// away, and the board's command registry holding each
// connected command behind the target's bounds (fuzzBounds.h), so that lines
// that reach a handler through dispatch or a script are bounded too. Prints
// the bounds once, on standard error.
void fuzzSetup();

// The board of the target's process, as the program's entry builds its own.
Board& fuzzBoard();

// The commands that have a handler in this build, in name order.
std::span<const CmdDecl* const> connectedCommands();

// Puts the simulated instrument in its power-on state on the given board
// (main, signal, fp, mref), so that each input starts from the same instrument.
void resetInstrument(const char* board = "main");

// The four boards the simulator can be, for targets that let the input choose.
const char* boardByIndex(uint8_t n);
