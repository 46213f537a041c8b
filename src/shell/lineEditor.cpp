#include "lineEditor.h"

#include <cstdio>
#include <cstring>

#include "cmdLineObjectMap.h"
#include "keyInput.h"
#include "processEnd.h"

namespace {
const std::string CLEAR_LINE = "\x1b[2K";
const std::string BELL = "\a";
}  // namespace

LineEditor::LineEditor(char* buf, const char* prompt, CmdHistory& history, const CLOMap& commands, Output out)
    : buf(buf), prompt(prompt), history(history), commands(commands), out(std::move(out)),
      browseNdx(history.nextSlot()) {
  buf[0] = '\0';
}

// The whole line, then the cursor back to its place (a backspace moves it one to the left).
void LineEditor::redraw() {
  out(CLEAR_LINE + "\r" + prompt + buf + std::string(static_cast<size_t>(len - index), '\b'));
}

void LineEditor::complete() {
  buf[index] = '\0';
  len = index;
  if (index == 0) return;
  int matches = 0;
  completeCmd(commands, buf, &index, &matches);
  len = index;
  if (matches >= 1) redraw();
}

void LineEditor::browse(char dir) {
  const int next = history.nextSlot();
  if (dir == 'n') {
    if (++browseNdx > next) browseNdx = 0;
  } else if (--browseNdx < 0) {
    browseNdx = history.filled() ? CmdHistory::SLOTS - 1 : next;
  }
  snprintf(buf, MAX_CHARS, "%s", history.slot(browseNdx));
  len = index = static_cast<int>(strlen(buf));
  redraw();
}

// At the end of the line the terminal's echo already shows the character.
void LineEditor::insert(char c) {
  if (len >= MAX_CHARS - 1) {
    out(BELL);
    redraw();
    return;
  }
  memmove(buf + index + 1, buf + index, static_cast<size_t>(len - index + 1));
  buf[index++] = c;
  ++len;
  if (index < len) redraw();
}

void LineEditor::eraseAt(int at) {
  if (at >= 0 && at < len) {
    memmove(buf + at, buf + at + 1, static_cast<size_t>(len - at));
    --len;
    if (index > at) --index;
  }
  redraw();
}

void LineEditor::moveTo(int at) {
  index = at < 0 ? 0 : at > len ? len : at;
  redraw();
}

bool LineEditor::act(E_KEY key, char ch) {
  switch (key) {
    case KEY_ENTER: return true;
    case KEY_TEXT: insert(ch); break;
    case KEY_AFTER_ESC:
      if (ch == 'n' || ch == 'p') {
        browse(ch);
      } else {
        insert(ch);  // as text, and the cursor to the end
        moveTo(len);
      }
      break;
    case KEY_TAB: complete(); break;
    case KEY_ERASE: eraseAt(index - 1); break;
    case KEY_DELETE: eraseAt(index); break;
    case KEY_EOF:
      if (len == 0) return quit = true;
      eraseAt(index);
      break;
    case KEY_UP: browse('p'); break;
    case KEY_DOWN: browse('n'); break;
    case KEY_LEFT: moveTo(index - 1); break;
    case KEY_RIGHT: moveTo(index + 1); break;
    case KEY_HOME: moveTo(0); break;
    case KEY_END: moveTo(len); break;
    case KEY_UNKNOWN: redraw(); break;  // its echo wiped
    case KEY_NONE: break;
  }
  return false;
}

bool LineEditor::feed(char c) {
  char ch = 0;
  E_KEY key = keys.feed(c, &ch);
  return act(key, ch);
}

void LineEditor::finish() { buf[len] = '\0'; }

void completeCmd(const CLOMap& map, char* buf, int* len, int* matches) {
  const size_t n = static_cast<size_t>(*len);
  int count = 0;
  const std::string* first = nullptr;
  const std::string* last = nullptr;
  for (const auto& entry : map) {
    if (entry.first.compare(0, n, buf, n) != 0 || entry.first.size() < n) continue;
    if (!first) first = &entry.first;
    last = &entry.first;
    ++count;
  }
  *matches = count;
  if (count == 1) {
    snprintf(buf, 200, "%s", last->c_str());
    *len = static_cast<int>(strlen(buf));
  } else if (count > 1 && first->size() > n && n + 1 < 200) {
    // Extend by the first match's next character while every match agrees.
    const int here = *len;
    buf[n] = (*first)[n];
    *len = here + 1;
    buf[*len] = '\0';
    int deeper = 0;
    completeCmd(map, buf, len, &deeper);
    if (deeper < count) *len = here;
  }
  buf[*len] = '\0';
}

E_STATUS getLine(char* buf, const char* prompt, CmdHistory& history, const CLOMap& commands, bool* ended) {
  if (!buf) return NULL_POINTER;
  LineEditor ed(buf, prompt ? prompt : "", history, commands, [](const std::string& s) {
    fputs(s.c_str(), stdout);
    fflush(stdout);
  });
  for (;;) {
    char c = nonBlockingGetChar();
    if (takeInterrupt()) {
      // As the shells do: the line typed so far is dropped, and a new prompt follows on a line of its own.
      buf[0] = '\0';
      fputs("\n", stdout);
      break;
    }
    if (stdinAtEof()) {
      ed.finish();
      break;
    }
    if (ed.feed(c)) break;
  }
  if (ended) *ended = ed.ended();
  return SUCCESS;
}
