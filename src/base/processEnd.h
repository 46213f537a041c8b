#pragma once
// Work that must be done however the process ends: the named semaphores given
// back, the terminal restored. The registered functions run once, in reverse
// order of registration, at exit() and on the ending signals (interrupt,
// terminate, hang-up, quit, broken pipe and the fatal faults); the signal then
// takes its default action, so that the parent sees how the process ended.
// Signals the process was started with ignored or handled stay as they were.
// The functions may run inside a signal handler: they must be async-signal-safe.
void atProcessEnd(void (*fn)());

// While one lives, an interrupt, terminate, hang-up or quit waits until the last
// one ends, so that a step which must be complete before the process can clean
// up (recording a semaphore's holder) is never cut in half by such a signal.
class EndDeferred {
public:
  EndDeferred();
  ~EndDeferred();
  EndDeferred(const EndDeferred&) = delete;
  EndDeferred& operator=(const EndDeferred&) = delete;
};
