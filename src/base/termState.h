#pragma once
// The terminal's modes. The shell saves them once at start and gives them back
// however it ends (exit, end of input, the ending signals, fatal faults) and
// while it is stopped with Ctrl-Z; on continue it takes up the modes it had.
// Between characters the terminal stays in canonical mode, so a command that
// runs never inherits a raw terminal.

// Saves the modes of standard input when it is a terminal; call once at start.
void saveTermState();
// With on, leaves canonical mode (a read returns each character as it is
// typed; echo stays on); with off, enters it again. The tcsetattr result.
int nonblock(bool on);
// Gives the terminal back the modes it had when the shell started (the shell,
// after a command it interrupted, so that the prompt finds it as it was).
void restoreTermState();
