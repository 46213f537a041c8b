#pragma once
// The ANSI cursor and colour helpers of full-screen output. Key input and the
// terminal's modes are in keyInput.h and termState.h.

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
