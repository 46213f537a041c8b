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

// At the interactive prompt an interrupt (Ctrl-C) stops the running command,
// not the shell. While caught, the first interrupt is only noted: the
// command's long waits and loops see it (interrupted()) and end early, and the
// shell takes it (takeInterrupt()) when the command has returned. A second
// interrupt before the shell took the first ends the process as before, for a
// command that does not look. Off by default: a one-shot run or a script
// started from the command line ends at the first.
void catchInterrupts(bool on);
bool interrupted();
// True when an interrupt was noted since the last call; clears it.
bool takeInterrupt();
