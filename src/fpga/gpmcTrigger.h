#pragma once
// The FPGA layer's part in logging: the trigger pulse of log flag 4 (the
// primary source of the "reg" target enabled and at once disabled again) and
// the "fpga" category of the log command (FPGA access errors to the system log).
void pulseFpgaTrigger();
void connectFpgaLog();
