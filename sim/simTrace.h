#pragma once
#include <string>
// The transaction trace: when $DIAG_SIM_TRACE names a file, every kernel-level
// access is appended to it as one decoded line, in the words of kernelText.h.
// A trace that cannot be written (a directory, a read-only place, a FIFO that
// nothing reads or whose reader stops reading or goes away) is reported once
// on standard error and dropped; the simulated instrument goes on without it.
namespace sim {
// Opens the trace; done once, before the process first takes the state lock.
void traceOpen();
void trace(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
// A line of any length (a transfer's bytes), without its newline.
void traceLine(const std::string& line);
// True while the trace is written: a caller whose line costs work to decode
// (bytes in hexadecimal, a request spelt out) builds it only then.
bool tracing();
}  // namespace sim
