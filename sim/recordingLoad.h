#pragma once
#include <string>

namespace sim {
struct SimState;

// diag-simctl load-recording FILE: sets the simulated instrument to what a
// recording of the program (DIAG_RECORD) read from the recorded one, on top of
// its present state. Returns 0, or 2 for a file that is not a recording; a
// summary (or the reason) in out.
int loadRecording(SimState& s, const std::string& file, std::string& out);
}  // namespace sim
