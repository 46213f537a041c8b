#include "terminal.h"

#include <sys/select.h>
#include <termios.h>
#include <unistd.h>

#include <cstdio>

namespace {
bool atEof = false;
}

int nonblock(bool on) {
  struct termios ttystate;
  if (tcgetattr(STDIN_FILENO, &ttystate) != 0) return -1;
  if (on) {
    ttystate.c_lflag &= ~static_cast<tcflag_t>(ICANON);
    ttystate.c_cc[VMIN] = 1;
  } else {
    ttystate.c_lflag |= ICANON;
  }
  return tcsetattr(STDIN_FILENO, TCSANOW, &ttystate);
}

int inputAvailable() {
  struct timeval tv = {0, 0};
  fd_set fds;
  FD_ZERO(&fds);
  FD_SET(STDIN_FILENO, &fds);
  select(STDIN_FILENO + 1, &fds, nullptr, nullptr, &tv);
  return FD_ISSET(STDIN_FILENO, &fds);
}

char nonBlockingGetChar() {
  char c = 0;
  nonblock(true);
  do {
    usleep(1);
    if (inputAvailable()) {
      int r = fgetc(stdin);
      if (r == EOF) {
        atEof = feof(stdin);
        c = static_cast<char>(0xFF);
      } else {
        c = static_cast<char>(r);
      }
    }
  } while (c == 0);
  nonblock(false);
  return c;
}

bool stdinAtEof() { return atEof; }

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
