#pragma once
// Wires the program together before any command runs: the commands into the
// registry, and the lower layers' parts in the shell's services (log
// categories, the FPGA trigger pulse, the shell's command runner), which the
// lower layers cannot reach for themselves without looking up. Called once by
// every entry point (the program's main, the tests', the benchmarks').
void connectLayers();
