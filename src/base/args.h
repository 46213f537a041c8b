#pragma once
#include <initializer_list>
#include <span>
#include <string>

#include "argsDecl.h"

// One declared word of the line as the scan met it: an option with its values,
// or the rest of the line (its first word its value).
struct OptHit {
  const OptDecl* opt = nullptr;
  int pos = 0;                // index of the option word (of the rest: of its first word)
  bool has[2] = {};           // each value was given (an optional one may be absent)
  unsigned long num[2] = {};  // VAL_NUM values
  const char* word[2] = {"", ""};
  int first = 0, end = 0;  // VAL_NUMS, VAL_WORDS and the rest of a line: the words [first, end)
};

// The words of one command line as its declaration reads them. scan() checks
// every word before anything is done: a word the declaration does not have, a
// bad number or a missing value is refused with one line, and "-h" anywhere
// prints the usage instead (helped()). The command then reads what was found
// by naming its declared options; where one is given more than once, the later
// counts.
class Args {
public:
  Args(const ArgsDecl& decl, int argc, char argv[][ARG_LEN]) : decl(decl), argc(argc), argv(argv) {}
  E_STATUS scan(const char* help = nullptr);
  bool helped() const { return askedForUsage; }

  bool has(const OptDecl& o) const { return last(o) != nullptr; }
  const OptHit* last(const OptDecl& o) const;
  // Of the options named, the one met last (null: none).
  const OptHit* lastOf(std::initializer_list<const OptDecl*> opts) const;
  // The value of the last such option, or dflt when it was not given (or its
  // optional value was left out); a value the rules count as 0 is 0, or "".
  unsigned long num(const OptDecl& o, unsigned long dflt = 0, int i = 0) const;
  const char* word(const OptDecl& o, const char* dflt = "", int i = 0) const;
  // Every declared word met, in the order of the line.
  std::span<const OptHit> hits() const { return {found, static_cast<size_t>(nHits)}; }
  // The words of the line themselves (a list value's, the rest of the line's).
  const char* at(int pos) const { return pos >= 0 && pos < argc ? argv[pos] : ""; }
  int count() const { return argc; }
  char (*rows() const)[ARG_LEN] { return argv; }
  const ArgsDecl& declaration() const { return decl; }

private:
  const OptDecl* find(const char* w) const;
  const OptDecl* restDecl() const;
  E_STATUS read();
  E_STATUS readOption(const OptDecl* o, int* i, int* valuesEnd);
  E_STATUS readValues(OptHit& h, int* next, bool* keep);
  E_STATUS readList(OptHit& h, const S_VAL_DECL& v, int* next);
  bool optionFollows(int pos) const;
  bool missingIsZero(const OptHit* h, int i) const;
  E_STATUS refuse(const char* fmt, const char* w) const;

  const ArgsDecl& decl;
  int argc;
  char (*argv)[ARG_LEN];
  OptHit found[MAX_ARGS];
  int nHits = 0;
  bool askedForUsage = false;
};

// A declaration's usage: its head lines, then each option's, each ending in a
// newline; empty when it has neither.
std::string usageText(const ArgsDecl& decl);
// Prints a declaration's usage: its head lines and each option's, one log line
// each; a declaration with neither prints its name and the help line given.
void printUsage(const ArgsDecl& decl, const char* help = nullptr);
