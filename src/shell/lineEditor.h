#pragma once
#include <functional>
#include <string>
#include "cmdHistory.h"
#include "diagStatus.h"

// Edits one command line from decoded key presses. The terminal echoes what is
// typed; the editor redraws the line only where it changed it (completion,
// backspace, history), through the output function it was given.
class LineEditor {
public:
  static constexpr int MAX_CHARS = 200;
  using Output = std::function<void(const std::string&)>;

  LineEditor(char* buf, const char* prompt, CmdHistory& history, Output out);
  // Takes one character; returns true when the line is complete (Enter, or
  // 200 characters read without one).
  bool feed(char c);
  // Ends the line early (end of input); terminates the buffer.
  void finish();

private:
  void redraw();
  void complete();
  void browse(char dir);

  char* buf;
  const char* prompt;
  CmdHistory& history;
  Output out;
  int index = 0;
  int count = 0;
  int browseNdx;
  bool escape = false;
};

void completeCmd(char* buf, int* len, int* matches);
E_STATUS getLine(char* buf, const char* prompt);
