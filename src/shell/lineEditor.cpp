#include "lineEditor.h"

#include <cstdio>
#include <cstring>

#include "cmdLineObjectMap.h"
#include "keyInput.h"

namespace {
constexpr char TAB = 9, BS = 8, DEL = 0x7F, ESC = 0x1B, CR = 0x0D, LF = 0x0A;
const std::string CLEAR_LINE = "\x1b[2K";
}  // namespace

LineEditor::LineEditor(char* buf, const char* prompt, CmdHistory& history, Output out)
    : buf(buf), prompt(prompt), history(history), out(std::move(out)), browseNdx(history.nextSlot()) {
  buf[0] = '\0';
}

void LineEditor::redraw() { out(CLEAR_LINE + "\r" + prompt + buf); }

void LineEditor::complete() {
  buf[index] = '\0';
  if (index == 0) return;
  int matches = 0;
  completeCmd(buf, &index, &matches);
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
  redraw();
}

bool LineEditor::feed(char c) {
  if (c == 0 || c == static_cast<char>(0xFF)) return false;  // no progress
  ++count;
  if (c == CR || c == LF) {
    buf[index] = '\0';
    return true;
  }
  if (c == TAB) {
    complete();
  } else if (c == BS || c == DEL) {
    // The terminal echoed the key; the redraw puts the line back as it is.
    if (index > 0) buf[--index] = '\0';
    redraw();
  } else if (c == ESC) {
    escape = true;
  } else if (index < MAX_CHARS - 1) {
    buf[index++] = c;
    buf[index] = '\0';
    if (escape) {
      if (c == 'n' || c == 'p') browse(c);
      index = static_cast<int>(strlen(buf));
      escape = false;
    }
  }
  if (count >= MAX_CHARS) {
    buf[index < MAX_CHARS - 1 ? index : MAX_CHARS - 1] = '\0';
    return true;
  }
  return false;
}

void LineEditor::finish() { buf[index] = '\0'; }

void completeCmd(char* buf, int* len, int* matches) {
  CLOMap& map = CmdLineObjectMap::getCmdLineMap()->map;
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
    completeCmd(buf, len, &deeper);
    if (deeper < count) *len = here;
  }
  buf[*len] = '\0';
}

E_STATUS getLine(char* buf, const char* prompt) {
  if (!buf) return NULL_POINTER;
  LineEditor ed(buf, prompt ? prompt : "", cmdHistory(), [](const std::string& s) {
    fputs(s.c_str(), stdout);
    fflush(stdout);
  });
  for (;;) {
    char c = nonBlockingGetChar();
    if (stdinAtEof()) {
      ed.finish();
      break;
    }
    if (ed.feed(c)) break;
  }
  return SUCCESS;
}
