#pragma once
// Connects the lower layers' parts in the shell's services (log categories,
// the FPGA trigger pulse), which the lower layers cannot reach for themselves
// without looking up. Called once by every entry point before any command runs.
void connectLayers();
