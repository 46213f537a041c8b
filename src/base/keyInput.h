#pragma once
// Keys typed at the console, for the line editor and for the commands and
// self-tests that run until a key is pressed.

// Non-zero when a character is waiting on standard input (not consumed).
int inputAvailable();
// Waits for the next character in non-canonical mode, one character at a
// time; a NUL is waited past. End of input reads as the character 0xFF; an
// interrupt noted at the prompt (see processEnd.h) ends the wait with 0.
char nonBlockingGetChar();
// Blocks until standard input can be read (a character, its end or an error);
// false when an interrupt was noted first.
bool waitInput();
// True once standard input has reached its end (or can no longer be read).
bool stdinAtEof();
