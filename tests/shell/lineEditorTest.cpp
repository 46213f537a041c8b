#include <gtest/gtest.h>

#include <string>

#include "cmdHistory.h"
#include "cmdRun.h"
#include "lineEditor.h"
#include "textUtil.h"

namespace {
// Feeds keys to an editor and keeps what it drew.
struct Editor {
  explicit Editor(CmdHistory& h) : ed(buf, "diag> ", h, testBoard().commands.map, [this](const std::string& s) { drawn += s; }) {}
  Editor() : Editor(own) {}  // with a history of its own, empty
  bool keys(const std::string& k) {
    for (char c : k)
      if (ed.feed(c)) return true;
    return false;
  }
  CmdHistory own;
  char buf[200];
  std::string drawn;
  LineEditor ed;
};
const std::string REDRAW = "\x1b[2K\rdiag> ";
}  // namespace

TEST(LineEditor, EnterEndsTheLine) {
  Editor e;
  // A terminal that has nothing to give reads 0 or 0xFF: neither is a key.
  EXPECT_FALSE(e.keys(std::string("he\0l\xffp", 6)));
  EXPECT_TRUE(e.keys("\r") && e.drawn.empty());
  EXPECT_STREQ(e.buf, "help");
}

TEST(LineEditor, TabCompletesToTheLongestCommonPrefix) {
  struct Case { const char* typed; const char* result; bool redrawn; } cases[] = {
      {"he", "help", true}, {"ra", "ramp", true}, {"i", "i", true}, {"ms", "msdat", true},
      {"led", "led", true}, {"fpt", "fptmp", true}, {"zz", "zz", false}, {"", "", false}};
  for (const Case& c : cases) {
    Editor e;
    e.keys(std::string(c.typed) + "\t");
    EXPECT_STREQ(e.buf, c.result) << c.typed;
    EXPECT_EQ(!e.drawn.empty(), c.redrawn) << c.typed;
    // Typing goes on after the completed text.
    e.keys("x\r");
    EXPECT_EQ(std::string(e.buf), std::string(c.result) + "x");
  }
}

TEST(LineEditor, BackspaceErasesAndIsHarmlessAtTheStart) {
  Editor e;
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

TEST(LineEditor, EscOnEmptyHistoryShowsAnEmptyLine) {
  Editor e;
  e.keys("\x1bp");
  EXPECT_STREQ(e.buf, "");
  EXPECT_EQ(e.drawn, REDRAW);
  // Another character after ESC is text at the cursor, and the cursor goes to the end.
  e.keys("ab\x1b[D\x1bxy\r");
  EXPECT_STREQ(e.buf, "axby");
}

// The cursor keys in both of the forms terminals send, as every Linux shell
// reads them; sequences of no use here are dropped and their echo wiped.
TEST(LineEditor, CursorKeysMoveBrowseAndEdit) {
  CmdHistory h;
  for (const char* l : {"one", "two"}) h.put(l);
  struct Case { const char* keys; const char* line; } cases[] = {
      {"\x1b[A", "two"}, {"\x1b[A\x1b[A", "one"}, {"\x1bOA\x1b[A\x1b[B", "two"},
      {"ac\x1b[Db", "abc"}, {"ac\x1bODb\x1b[Cd", "abcd"}, {"bc\x1b[Ha\x1b[Fd", "abcd"},
      {"abc\x1b[1~\x1b[3~", "bc"}, {"abc\x1b[D\x1b[D\x04", "ac"}, {"ab\x1b[D\x7f", "b"},
      {"ab\x1b[19~\x1b[20~\x1b[1;5A\x1b[Zc", "abc"}, {"\x1b[D\x1b[D\x7fx\x1b[C\x1b[C", "x"}, {"ab\x1b[\x7f", "a"},
      {"ab\x1b[ c", "abc"}, {"abc\x1b[D\x1b[3~x", "abx"}, {"bc\x1b[7~a\x1b[4~d", "abcd"}, {"c\x1b[1~b\x1b[8~d", "bcd"}};
  for (const Case& c : cases) {
    Editor e(h);
    EXPECT_FALSE(e.keys(c.keys)) << c.keys;
    EXPECT_TRUE(e.keys("\r"));
    EXPECT_STREQ(e.buf, c.line) << c.keys;
  }
  // Enter inside a sequence cut short still ends the line.
  Editor cut(h);
  EXPECT_TRUE(cut.keys("ab\x1b[1\r"));
  EXPECT_STREQ(cut.buf, "ab");
  // After a move the line is redrawn with the cursor put back: "ab", then one to the left.
  Editor e(h);
  e.keys("ab\x1b[D");
  EXPECT_EQ(e.drawn, REDRAW + "ab\b");
}

// 199 characters fit; a further one rings the bell and is not taken. Only
// Enter ends the line, however many keys came before it.
TEST(LineEditor, LongLinesRingTheBellAndAreNeverSplit) {
  Editor e;
  std::string keys = "ver";
  for (int i = 0; i < 100; ++i) keys += "x\x7f";
  EXPECT_FALSE(e.keys(keys + "sion"));
  EXPECT_TRUE(e.keys("\r"));
  EXPECT_STREQ(e.buf, "version");

  Editor full;
  EXPECT_FALSE(full.keys(std::string(199, 'a')));
  EXPECT_TRUE(full.drawn.empty());
  EXPECT_FALSE(full.keys("b\x1b[Hc"));
  EXPECT_EQ(full.drawn.rfind("\a", 0), 0u);
  EXPECT_EQ(countOf(full.drawn, "\a"), 2u);
  EXPECT_FALSE(full.keys("\x1b[F\x7fz"));
  EXPECT_TRUE(full.keys("\r"));
  EXPECT_EQ(std::string(full.buf), std::string(198, 'a') + "z");
}

// Ctrl-D on an empty line ends the input; on a line it deletes under the cursor.
TEST(LineEditor, CtrlDOnAnEmptyLineEndsTheInput) {
  Editor e;
  EXPECT_FALSE(e.keys("a\x04"));
  EXPECT_FALSE(e.ed.ended());
  EXPECT_TRUE(e.keys("\x7f\x04"));
  EXPECT_TRUE(e.ed.ended());
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

  // Once the ring is full, ESC p steps back through all 20 lines, newest first, across slot 0, and round again.
  h.clear();
  for (int i = 0; i < 23; ++i) h.put(("l" + std::to_string(i)).c_str());
  Editor e(h);
  for (int back = 1; back <= 21; ++back) {
    e.keys("\x1bp");
    EXPECT_EQ(std::string(e.buf), "l" + std::to_string(back <= 20 ? 23 - back : 22)) << back;
  }
}
