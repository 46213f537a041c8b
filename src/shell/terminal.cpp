#include "terminal.h"

#include <cstdio>

void textWhite() { printf("\x1b[0;37;40m"); }
void textRed() { printf("\x1b[1;31;40m"); }
void cursorPos(int row, int col) { printf("\x1b[%d;%df", row, col); }
void clearScreen() { printf("\x1b[J"); }
void cursorHome() { printf("\x1b[H"); }
void cursorToStartOfNextLine() { printf("\x1b" "E"); }
void saveCursor() { printf("\x1b" "7"); }
void restoreCursor() { printf("\x1b" "8"); }
void cursorUp() { printf("\x1b[1A"); }
void cursorDown() { printf("\x1b[1B"); }
void clearLine() { printf("\x1b[2K"); }
void cursorForward(int n) { printf("\x1b[%dC", n); }
void cursorBack(int n) { printf("\x1b[%dD", n); }
void cursorDn(int n) { printf("\x1b[%dB", n); }
