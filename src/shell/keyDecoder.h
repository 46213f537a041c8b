#pragma once
// Turns the characters a terminal sends into the keys the line editor acts on.
// Decoding is apart from editing so that each is tested by feeding characters.
//
// A terminal sends a cursor key as an escape sequence: ESC [ A (or ESC O A in
// its application mode) for Up, B Down, C Right, D Left, H Home, F End, and
// ESC [ 3 ~ for Delete (1~ and 7~ Home, 4~ and 8~ End). ESC followed by any
// other printable character is that character after ESC: the shell's own
// history keys ESC p and ESC n are such pairs.

enum E_KEY {
  KEY_NONE,     // inside a sequence, or a character that means nothing (NUL, end of input)
  KEY_TEXT,     // a character to insert
  KEY_AFTER_ESC,  // ESC and one character that starts no sequence
  KEY_ENTER,
  KEY_TAB,
  KEY_ERASE,    // Backspace or DEL: the character before the cursor
  KEY_DELETE,   // the character under the cursor
  KEY_EOF,      // Ctrl-D
  KEY_UP,
  KEY_DOWN,
  KEY_LEFT,
  KEY_RIGHT,
  KEY_HOME,
  KEY_END,
  KEY_UNKNOWN,  // a whole sequence this editor has no use for
};

class KeyDecoder {
public:
  // Takes one character; the key it completes, KEY_NONE while a sequence is
  // still open. For KEY_TEXT and KEY_AFTER_ESC, *ch is the character.
  E_KEY feed(char c, char* ch);

private:
  E_KEY single(char c, char* ch);
  E_KEY sequenceEnd(char c);

  enum E_STATE { PLAIN, ESCAPED, SEQUENCE };
  E_STATE state = PLAIN;
  int param = 0;  // the number of ESC [ n ~, or -1 when it grew too long to be one of ours
};
