#pragma once
#include <climits>
#include <span>

#include "diagStatus.h"

// How a command (or a self-test) reads the words of its line, declared as data:
// its options with the values they take, and the command's own scanning rules.
// One scanner (scanArgs) serves every declaration.

class ArgScan;
struct OptHit;

// What an option does when it is met, before the command's own work: a status
// other than SUCCESS ends the command with it.
using OptAct = E_STATUS (*)(const OptHit& hit, const ArgScan& scan);

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

struct OptDecl {
  const char* name = nullptr;
  S_VAL_DECL vals[2];
  int nVals = 0;
  OptAct act = nullptr;
  bool ends = false;  // the scan ends at this option (-h)

  constexpr OptDecl then(OptAct fn) const {
    OptDecl o = *this;
    o.act = fn;
    return o;
  }
  constexpr OptDecl endsScan() const {
    OptDecl o = *this;
    o.ends = true;
    return o;
  }
  constexpr OptDecl plus(S_VAL_DECL v) const {
    OptDecl o = *this;
    o.vals[o.nVals++] = v;
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
constexpr S_VAL_DECL numVal(unsigned long min, unsigned long max) { return {VAL_NUM, min, max, false}; }
constexpr S_VAL_DECL wordVal(bool optional = false) { return {VAL_WORD, 0, ULONG_MAX, optional}; }

// Whether the word after an option that takes a value is consumed, or the scan
// still looks at that word too (so that a value is itself compared with the
// option names).
enum E_VALUE_WORD { VALUE_CONSUMED, VALUE_SCANNED_TOO };
// An option whose value is missing (the option is the last word).
enum E_MISSING_VALUE {
  MISSING_IS_ZERO,    // the value counts as 0 (an empty word)
  MISSING_DROPS_OPT,  // the option is ignored
  MISSING_REFUSED,    // the command is refused with its refusal text
};

struct ScanRules {
  E_VALUE_WORD valueWord = VALUE_CONSUMED;
  E_MISSING_VALUE missing = MISSING_IS_ZERO;
  bool unknownRefused = false;     // a word that is no option refuses the command (else it is ignored)
  bool emptyWordsSkipped = false;  // empty words (two blanks in a row) are passed over, also inside a value list
  // The refusal line for a missing value or an unknown word; one %s, the word.
  const char* refusal = "%s needs a value";
  int firstArg = 1;  // self-tests: their options follow "runtest" and the test name
};

// A command's or a self-test's words: name, usage lines (printed by -h, one
// line each), options and scanning rules.
struct ArgsDecl {
  const char* name = "";
  std::span<const char* const> usage;
  std::span<const OptDecl> opts;
  ScanRules rules;
};

// One command of the registry: one-line help (without its newline), how its
// words are read, and its handler (null: listed for help and completion, but
// not connected in this build).
struct CmdDecl {
  const char* help = "";
  ArgsDecl args;
  CmdHandler handler = nullptr;
  const char* name() const { return args.name; }
};
