#pragma once
#include <functional>
#include <string>
#include "cmdHistory.h"
#include "cmdLineObjectMap.h"
#include "diagStatus.h"
#include "keyDecoder.h"

// Edits one command line from the keys typed. The terminal echoes what is
// typed; the editor redraws the line wherever the echo is not what the line
// now is (an insertion before the end, an erased character, a cursor or
// history key, a refused character), through the output function it was given.
//
// The line ends only with Enter. It holds at most 199 characters (the line
// buffer of 200 with its end): a further character is refused with the
// terminal's bell and the line stays as it was, never split. Up and Down step
// through the history as ESC p and ESC n do, Left and Right (and Home, End)
// move the cursor, Backspace erases before it, Delete under it. Ctrl-D on an
// empty line ends the input, as its end does; on a line, it deletes under the
// cursor.
class LineEditor {
public:
  static constexpr int MAX_CHARS = 200;
  using Output = std::function<void(const std::string&)>;

  // Tab completes a command name of commands.
  LineEditor(char* buf, const char* prompt, CmdHistory& history, const CLOMap& commands, Output out);
  // Takes one character; true when the line is complete, or ended (see ended()).
  bool feed(char c);
  // True after Ctrl-D on an empty line: the operator has no more lines.
  bool ended() const { return quit; }
  // Ends the line early (end of input); terminates the buffer.
  void finish();

private:
  bool act(E_KEY key, char ch);
  void insert(char c);
  void eraseAt(int at);
  void moveTo(int at);
  void redraw();
  void complete();
  void browse(char dir);

  char* buf;
  const char* prompt;
  CmdHistory& history;
  const CLOMap& commands;
  Output out;
  KeyDecoder keys;
  int index = 0;  // the cursor
  int len = 0;
  int browseNdx;
  bool quit = false;
};

// Completes the first *len characters of buf to the longest prefix that all
// the command names beginning so share (the whole name when only one does).
void completeCmd(const CLOMap& commands, char* buf, int* len, int* matches);
// Reads one edited line. *ended (when given) tells that the operator ended the
// input (Ctrl-D on an empty line); an interrupt (Ctrl-C) drops the line typed
// so far and returns an empty one.
E_STATUS getLine(char* buf, const char* prompt, CmdHistory& history, const CLOMap& commands, bool* ended = nullptr);
