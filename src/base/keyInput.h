#pragma once
// Keys typed at the console, for the line editor and for the commands and
// self-tests that run until a key is pressed.

// Non-zero when a character is waiting on standard input (not consumed).
int inputAvailable();
// Waits for the next character in non-canonical mode, one character at a
// time; a NUL is waited past. End of input reads as the character 0xFF.
char nonBlockingGetChar();
// True once standard input has reached its end (or can no longer be read).
bool stdinAtEof();
