#pragma once
// The transaction trace: when $DIAG_SIM_TRACE names a file, every kernel-level
// access is appended to it as one decoded line.
namespace sim {
bool traceOn();
void trace(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
}  // namespace sim
