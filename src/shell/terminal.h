#pragma once
// Raw-terminal character input and the ANSI cursor and colour helpers.

int nonblock(bool on);
int inputAvailable();
char nonBlockingGetChar();
// True once standard input has reached end of file.
bool stdinAtEof();

void textWhite();
void textRed();
void cursorPos(int row, int col);
void clearScreen();
void cursorHome();
void cursorToStartOfNextLine();
void saveCursor();
void restoreCursor();
void cursorUp();
void cursorDown();
void clearLine();
void cursorForward(int n);
void cursorBack(int n);
void cursorDn(int n);
