// Number words of the command line: whole numbers in the documented bases, within their range.
#include <gtest/gtest.h>

#include <climits>
#include <tuple>

#include "numArg.h"

TEST(NumberWords, AreWholeNumbersInTheDocumentedBasesOnly) {
  unsigned long v = 0;
  for (auto [word, max, want] : {std::tuple{"0x1F", 255ul, 31ul}, {"010", 255ul, 8ul}, {"0", 0ul, 0ul}}) {
    v = 99;
    EXPECT_TRUE(parseNumArg(word, 0, max, &v) == NUM_ARG_OK && v == want) << word << " gave " << v;
  }
  for (const char* bad : {"", "08", "0x", "+5", " 5", "5 ", "1e3", "0x1g", "abc", "--1"})
    EXPECT_EQ(parseNumArg(bad, 0, ULONG_MAX, &v), NUM_ARG_NOT_A_NUMBER) << bad;
  for (auto [word, min, max] :
       {std::tuple{"-0", 0ul, ULONG_MAX}, {"-9", 0ul, ULONG_MAX}, {"256", 0ul, 255ul}, {"0", 1ul, 2ul},
        {"99999999999999999999999", 0ul, ULONG_MAX}})
    EXPECT_EQ(parseNumArg(word, min, max, &v), NUM_ARG_OUT_OF_RANGE) << word;
}
