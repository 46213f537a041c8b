#pragma once
#include <climits>
#include <span>

#include "diagStatus.h"

// How a command (or a self-test) reads the words of its line, declared as data:
// its options and the rest of the line, with the values they take and the lines
// they add to its usage, and the command's own scanning rules. One scanner
// (Args) serves every declaration; a command reads what it found by naming
// the declared option itself, so that a misspelt name does not compile.

enum E_VAL_KIND {
  VAL_NUM,    // a number word within [min, max]
  VAL_WORD,   // any word
  VAL_NUMS,   // the number words up to the next option
  VAL_WORDS,  // the words up to the next option
};

struct S_VAL_DECL {
  E_VAL_KIND kind = VAL_WORD;
  unsigned long min = 0;
  unsigned long max = ULONG_MAX;
  // May be left out: the value is there unless the line ends or an option
  // follows (VAL_NUMS, VAL_WORDS: may be no words at all).
  bool optional = false;
};

enum E_OPT_KIND {
  OPT_OPTION,    // a word beginning with '-', and its values
  OPT_REST,      // every word to the end of the line (-h among them still asks for the usage)
  OPT_RAW_REST,  // every word to the end of the line, for another declaration to read
};

struct OptDecl {
  const char* name = nullptr;  // "-r"; for the rest of the line the name its usage gives it
  E_OPT_KIND kind = OPT_OPTION;
  S_VAL_DECL vals[2];
  int nVals = 0;
  const char* usage = nullptr;  // its line of the usage text ('\n' between several); null: none of its own

  constexpr OptDecl plus(S_VAL_DECL v) const {
    OptDecl o = *this;
    o.vals[o.nVals++] = v;
    return o;
  }
  constexpr OptDecl says(const char* text) const {
    OptDecl o = *this;
    o.usage = text;
    return o;
  }
};

constexpr OptDecl flagOpt(const char* name) { return {.name = name}; }
constexpr OptDecl numOpt(const char* name, unsigned long min, unsigned long max) {
  return {.name = name, .vals = {{VAL_NUM, min, max, false}}, .nVals = 1};
}
constexpr OptDecl optNumOpt(const char* name, unsigned long min, unsigned long max) {
  return {.name = name, .vals = {{VAL_NUM, min, max, true}}, .nVals = 1};
}
constexpr OptDecl wordOpt(const char* name) { return {.name = name, .vals = {{VAL_WORD}}, .nVals = 1}; }
constexpr OptDecl wordsOpt(const char* name, bool optional) {
  return {.name = name, .vals = {{VAL_WORDS, 0, ULONG_MAX, optional}}, .nVals = 1};
}
constexpr OptDecl numsOpt(const char* name, unsigned long min, unsigned long max) {
  return {.name = name, .vals = {{VAL_NUMS, min, max, true}}, .nVals = 1};
}
constexpr OptDecl restWords(const char* name) { return {.name = name, .kind = OPT_REST}; }
constexpr OptDecl rawRestWords(const char* name) { return {.name = name, .kind = OPT_RAW_REST}; }
constexpr S_VAL_DECL numVal(unsigned long min, unsigned long max) { return {VAL_NUM, min, max, false}; }
constexpr S_VAL_DECL wordVal(bool optional) { return {VAL_WORD, 0, ULONG_MAX, optional}; }

// Whether the word after an option that takes a value is consumed, or the scan
// still looks at that word too (so that a value is itself compared with the
// option names).
enum E_VALUE_WORD { VALUE_CONSUMED, VALUE_SCANNED_TOO };
// An option whose value is missing (the line ends, or an option follows where a
// value must be). Refused unless the declaration says what it means.
enum E_MISSING_VALUE {
  MISSING_REFUSED,    // the command is refused with one line
  MISSING_IS_ZERO,    // the value counts as 0 (an empty word)
  MISSING_DROPS_OPT,  // the option is passed over
};

struct ScanRules {
  E_VALUE_WORD valueWord = VALUE_CONSUMED;
  E_MISSING_VALUE missing = MISSING_REFUSED;
  int firstArg = 1;  // self-tests: their options follow "runtest" and the test name
};

// A command's or a self-test's words: its name, the usage lines before those
// of its options, its options and the rest of the line in the order of the usage,
// and its scanning rules. Its usage (-h) is the head lines, then each
// option's lines; with neither, the name and the help line.
struct ArgsDecl {
  const char* name = "";
  std::span<const char* const> head;
  std::span<const OptDecl* const> opts;
  ScanRules rules;
};
