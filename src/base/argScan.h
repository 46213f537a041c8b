#pragma once
#include "argsDecl.h"

// One option as the scan met it.
struct OptHit {
  const OptDecl* opt = nullptr;
  int pos = 0;                // index of the option word
  bool has[2] = {};           // each value was given (an optional one may be absent)
  unsigned long num[2] = {};  // VAL_NUM values
  const char* word[2] = {"", ""};
  int first = 0, end = 0;  // VAL_NUMS, VAL_WORDS: the words [first, end) of the line
};

// The words of one command line as its declaration reads them: the options met,
// left to right. Where an option is met more than once, the later one counts.
class ArgScan {
public:
  ArgScan(const ArgsDecl& decl, int argc, char argv[][ARG_LEN]) : decl(decl), argc(argc), argv(argv) {}
  // Reads the line: every word checked first (a bad number or a refused word
  // ends the command before anything is done), then the options' own actions
  // run in the order met. SUCCESS when the command is to go on; ended() tells
  // that an option (-h) has already answered it.
  E_STATUS run();
  bool ended() const { return endedAt != nullptr; }

  bool has(const char* name) const { return last(name) != nullptr; }
  const OptHit* last(const char* name) const;
  // The value of the last such option, or dflt when it was not given (or its optional value was left out).
  unsigned long num(const char* name, unsigned long dflt = 0, int i = 0) const;
  const char* word(const char* name, const char* dflt = "", int i = 0) const;
  // Of the options named, the one met last (null: none).
  const OptHit* lastOf(std::initializer_list<const char*> names) const;
  // The words of a list value, one by one.
  const char* at(int pos) const { return pos >= 0 && pos < argc ? argv[pos] : ""; }
  int count() const { return argc; }
  const ArgsDecl& declaration() const { return decl; }

private:
  const OptDecl* find(const char* w) const;
  E_STATUS read();
  E_STATUS readValues(OptHit& h, int* next, bool* keep);
  E_STATUS readList(OptHit& h, const S_VAL_DECL& v, int* next);
  bool optionFollows(int pos) const;
  bool missingIsZero(const OptHit* h, int i) const;
  E_STATUS refuse(const char* w) const;

  const ArgsDecl& decl;
  int argc;
  char (*argv)[ARG_LEN];
  OptHit hits[MAX_ARGS];
  int nHits = 0;
  const OptHit* endedAt = nullptr;
};

// Prints a declaration's usage lines, one log line each.
void printUsage(const ArgsDecl& decl);
// The action of -h: the usage, and the command ends.
E_STATUS usageAct(const OptHit&, const ArgScan& scan);
constexpr OptDecl helpOpt() { return flagOpt("-h").then(usageAct).endsScan(); }
