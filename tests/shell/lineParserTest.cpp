#include <gtest/gtest.h>

#include <string>

#include "cmdLine.h"

namespace {
struct Parsed {
  int argc = 0;
  char argv[MAX_ARGS][ARG_LEN] = {};
};

Parsed parse(const std::string& line) {
  Parsed p;
  EXPECT_EQ(lineParser(&p.argc, p.argv, line.c_str()), SUCCESS);
  return p;
}
}  // namespace

TEST(LineParser, BlanksSeparateAndEmptyArgumentsAreKept) {
  Parsed p = parse("i2c  -l");
  ASSERT_EQ(p.argc, 3);
  EXPECT_STREQ(p.argv[0], "i2c");
  EXPECT_STREQ(p.argv[1], "");
  EXPECT_STREQ(p.argv[2], "-l");

  p = parse("  help");
  ASSERT_EQ(p.argc, 3);
  EXPECT_STREQ(p.argv[0], "");
  EXPECT_STREQ(p.argv[2], "help");

  p = parse("");
  EXPECT_EQ(p.argc, 1);
  EXPECT_STREQ(p.argv[0], "");

  p = parse("a\tb ");  // a tab is an ordinary character; a trailing blank adds an empty argument
  ASSERT_EQ(p.argc, 2);
  EXPECT_STREQ(p.argv[0], "a\tb");
  EXPECT_STREQ(p.argv[1], "");
}

TEST(LineParser, QuotesGroupAndAreDropped) {
  Parsed p = parse("\"a b\" c");
  ASSERT_EQ(p.argc, 2);
  EXPECT_STREQ(p.argv[0], "a b");
  EXPECT_STREQ(p.argv[1], "c");

  p = parse("x \"unclosed rest of line");
  ASSERT_EQ(p.argc, 2);
  EXPECT_STREQ(p.argv[1], "unclosed rest of line");
}

TEST(LineParser, LongLinesAndManyWordsStayInsideTheArray) {
  std::string longArg(300, 'x');
  Parsed p = parse(longArg);
  ASSERT_EQ(p.argc, 1);
  EXPECT_EQ(std::string(p.argv[0]).size(), 198u);

  // Only the first 200 characters of a line are read.
  p = parse("a " + std::string(250, 'y'));
  EXPECT_EQ(std::string(p.argv[1]).size(), 198u);

  // More than 20 words: refused, and nothing is written past the array's 20 rows.
  std::string words = "w0";
  for (int i = 1; i < 40; ++i) words += " w" + std::to_string(i);
  Parsed many;
  EXPECT_EQ(lineParser(&many.argc, many.argv, words.c_str()), TOO_MANY_ARGS);
  EXPECT_EQ(many.argc, MAX_ARGS);
  EXPECT_STREQ(many.argv[19], "w19");
  p = parse(words.substr(0, words.find(" w20")));  // exactly 20 words are taken
  EXPECT_EQ(p.argc, MAX_ARGS);

  EXPECT_EQ(lineParser(nullptr, p.argv, "x"), NULL_POINTER);
}
