#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "cmdLine.h"
#include "textUtil.h"

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

// A tab is an ordinary character, a trailing blank adds an empty argument, an open quote runs to the end.
TEST(LineParser, BlanksSeparateQuotesGroupAndEmptyArgumentsAreKept) {
  const std::pair<const char*, std::vector<std::string>> cases[] = {
      {"i2c  -l", {"i2c", "", "-l"}}, {"  help", {"", "", "help"}}, {"", {""}}, {"a\tb ", {"a\tb", ""}},
      {"\"a b\" c", {"a b", "c"}}, {"x \"unclosed rest of line", {"x", "unclosed rest of line"}}};
  for (const auto& [line, want] : cases) {
    Parsed p = parse(line);
    EXPECT_EQ(std::vector<std::string>(p.argv, p.argv + p.argc), want) << line;
  }
}

// A line longer than a line can be, or of more than 20 words, is refused, not
// cut: cut, it would run something else than was asked.
TEST(LineParser, LongLinesAndManyWordsAreRefusedInsideTheArray) {
  Parsed p = parse(std::string(199, 'x'));
  ASSERT_EQ(p.argc, 1);
  EXPECT_EQ(std::string(p.argv[0]).size(), 198u);  // a word holds at most 198

  Parsed longLine;
  std::string out = captured([&] {
    EXPECT_EQ(lineParser(&longLine.argc, longLine.argv, ("a " + std::string(250, 'y')).c_str()), INVALID_STRING);
  });
  EXPECT_EQ(out, "the line is 252 characters long: at most 199 are taken; nothing was run\n");
  EXPECT_EQ(longLine.argc, 1);

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
