#include "keyDecoder.h"

namespace {
constexpr char TAB = 9, BS = 8, DEL = 0x7F, ESC = 0x1B, CR = 0x0D, LF = 0x0A, CTRL_D = 4;
constexpr int LONGEST_PARAM = 99;
}  // namespace

E_KEY KeyDecoder::feed(char c, char* ch) {
  if (c == 0 || c == static_cast<char>(0xFF)) return KEY_NONE;  // no progress
  switch (state) {
    case ESCAPED:
      state = PLAIN;
      if (c == '[' || c == 'O') {
        state = SEQUENCE;
        param = 0;
        return KEY_NONE;
      }
      // A control key after ESC (Enter, a second ESC) is itself.
      if (static_cast<unsigned char>(c) < 0x20 || c == DEL) return single(c, ch);
      *ch = c;
      return KEY_AFTER_ESC;
    case SEQUENCE:
      // A control key inside a sequence is itself, and the sequence is dropped (as terminals do): Enter
      // after a cut-off sequence still ends the line.
      if (static_cast<unsigned char>(c) < 0x20 || c == DEL) {
        state = PLAIN;
        return single(c, ch);
      }
      if (c >= '0' && c <= '9') {
        param = param < 0 || param * 10 + (c - '0') > LONGEST_PARAM ? -1 : param * 10 + (c - '0');
        return KEY_NONE;
      }
      if (c == ';') {
        param = -1;  // modifiers (Ctrl-Up, ...): not keys of this editor
        return KEY_NONE;
      }
      state = PLAIN;
      return sequenceEnd(c);
    default:
      return single(c, ch);
  }
}

E_KEY KeyDecoder::single(char c, char* ch) {
  switch (c) {
    case CR:
    case LF:
      return KEY_ENTER;
    case TAB:
      return KEY_TAB;
    case BS:
    case DEL:
      return KEY_ERASE;
    case CTRL_D:
      return KEY_EOF;
    case ESC:
      state = ESCAPED;
      return KEY_NONE;
    default:
      *ch = c;
      return KEY_TEXT;
  }
}

// The final character of a sequence: a letter, or "~" after a number.
E_KEY KeyDecoder::sequenceEnd(char c) {
  if (c == '~') {
    switch (param) {
      case 3: return KEY_DELETE;
      case 1: case 7: return KEY_HOME;
      case 4: case 8: return KEY_END;
      default: return KEY_UNKNOWN;
    }
  }
  if (param != 0) return KEY_UNKNOWN;
  switch (c) {
    case 'A': return KEY_UP;
    case 'B': return KEY_DOWN;
    case 'C': return KEY_RIGHT;
    case 'D': return KEY_LEFT;
    case 'H': return KEY_HOME;
    case 'F': return KEY_END;
    default: return KEY_UNKNOWN;
  }
}
