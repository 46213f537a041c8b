#include <gtest/gtest.h>

#include <string>

#include "cmdHistory.h"
#include "lineEditor.h"

namespace {
// Feeds keys to an editor and keeps what it drew.
struct Editor {
  explicit Editor(CmdHistory& h) : ed(buf, "diag> ", h, [this](const std::string& s) { drawn += s; }) {}
  bool keys(const std::string& k) {
    for (char c : k)
      if (ed.feed(c)) return true;
    return false;
  }
  char buf[200];
  std::string drawn;
  LineEditor ed;
};
const std::string REDRAW = "\x1b[2K\rdiag> ";
}  // namespace

TEST(LineEditor, EnterEndsTheLine) {
  CmdHistory h;
  Editor e(h);
  EXPECT_FALSE(e.keys("help"));
  EXPECT_TRUE(e.keys("\r") && e.drawn.empty());
  EXPECT_STREQ(e.buf, "help");
}

TEST(LineEditor, TabCompletesToTheLongestCommonPrefix) {
  CmdHistory h;
  struct Case { const char* typed; const char* result; bool redrawn; } cases[] = {
      {"he", "help", true}, {"ra", "ramp", true}, {"i", "i", true}, {"ms", "msdat", true},
      {"led", "led", true}, {"zz", "zz", false}, {"", "", false}};
  for (const Case& c : cases) {
    Editor e(h);
    e.keys(std::string(c.typed) + "\t");
    EXPECT_STREQ(e.buf, c.result) << c.typed;
    EXPECT_EQ(!e.drawn.empty(), c.redrawn) << c.typed;
    // Typing goes on after the completed text.
    e.keys("x\r");
    EXPECT_EQ(std::string(e.buf), std::string(c.result) + "x");
  }
}

TEST(LineEditor, BackspaceErasesAndIsHarmlessAtTheStart) {
  CmdHistory h;
  Editor e(h);
  e.keys("\x7f\b\x7fhellp\x7fo\r");
  EXPECT_STREQ(e.buf, "hello");
  EXPECT_NE(e.drawn.find(REDRAW + "hell"), std::string::npos);
}

TEST(LineEditor, EscPAndEscNBrowseTheHistory) {
  CmdHistory h;
  for (const char* l : {"one", "two"}) h.put(l);
  Editor e(h);
  // ESC n after the newest line reaches the empty slot, and from there wraps to the oldest.
  for (auto [key, line] : {std::pair{"\x1bp", "two"}, {"\x1bp", "one"}, {"\x1bn", "two"},
                                 {"\x1bn", ""}, {"\x1bn", "one"}}) {
    EXPECT_FALSE(e.keys(key));
    EXPECT_STREQ(e.buf, line) << key;
  }
  e.keys(" x\r");
  EXPECT_STREQ(e.buf, "one x");
}

TEST(LineEditor, EscOnEmptyHistoryAndArrowKeys) {
  CmdHistory h;
  Editor e(h);
  e.keys("\x1bp");
  EXPECT_STREQ(e.buf, "");
  EXPECT_EQ(e.drawn, REDRAW);
  // An arrow key is not a history key: its "[" ends the escape and is kept with its letter.
  e.keys("\x1b[A\r");
  EXPECT_STREQ(e.buf, "[A");
}

TEST(LineEditor, TwoHundredKeysEndTheLineAndIgnoredKeysDoNotCount) {
  CmdHistory h;
  Editor e(h);
  std::string keys;
  for (int i = 0; i < 100; ++i) keys += std::string("a") + '\0' + '\xff';
  EXPECT_FALSE(e.keys(keys));
  EXPECT_TRUE(e.keys(std::string(100, 'b')));
  EXPECT_EQ(std::string(e.buf).size(), 199u);
}

TEST(CmdHistory, RingSuppressesConsecutiveDuplicatesAndWraps) {
  CmdHistory h;
  EXPECT_EQ(h.lastSlot(), -1);
  EXPECT_EQ(h.put(""), INVALID_STRING);
  EXPECT_EQ(h.put(nullptr), NULL_POINTER);
  for (const char* l : {"a", "a"}) h.put(l);
  EXPECT_EQ(h.nextSlot(), 1);
  for (const char* l : {"b", "a"}) h.put(l);
  EXPECT_EQ(h.nextSlot(), 3);
  for (int i = 0; i < 17; ++i) h.put(std::to_string(i).c_str());
  EXPECT_EQ(h.nextSlot(), 0);
  EXPECT_TRUE(h.filled());
  EXPECT_EQ(h.lastSlot(), 19);
  EXPECT_STREQ(h.slot(19), "16");
  h.put(std::string(300, 'z').c_str());
  EXPECT_EQ(std::string(h.slot(0)).size(), 199u);
}
