#pragma once
// Pulse of the FPGA trigger (log flag 4): the primary source of the "reg" target
// enabled and at once disabled again.
void pulseFpgaTrigger();
