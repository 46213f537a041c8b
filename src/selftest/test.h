#pragma once
#include <span>
#include <string>

#include "argScan.h"
#include "diagStatus.h"

// A named self-test of the instrument's hardware, run by "runtest <name>".
class Test : public DiagObject {
public:
  Test(std::string nm, std::string helpString, std::string OLEDString)
      : nm(std::move(nm)), helpString(std::move(helpString)), OLEDString(std::move(OLEDString)) {}
  virtual ~Test() = default;
  // Receives the whole runtest line: row 0 "runtest", row 1 the test name, then its options.
  virtual E_STATUS runTest(int argc, char argv[][ARG_LEN]) = 0;

  std::string nm;
  std::string helpString;
  std::string OLEDString;

protected:
  // How the test reads its own options (the words after "runtest" and its
  // name): as declared, a missing value dropping its option.
  ArgsDecl ownArgs(std::span<const char* const> usage, std::span<const OptDecl> opts) const;
};

// The options of the tests that loop: "-l <loops>" (0: until stopped), "-coe"
// (register walks: continue on error), "-h" (the one usage line).
extern const char* const loopTestUsage[1];
extern const OptDecl loopTestOpts[3];

// A registered test whose hardware this build cannot reach: it says so and
// prints no verdict. A register test among them still answers -h with its usage.
class UnavailableTest : public Test {
public:
  UnavailableTest(std::string nm, std::string helpString, bool, bool) : Test(std::move(nm), std::move(helpString), "") {}
  E_STATUS runTest(int argc, char argv[][ARG_LEN]) override;

protected:
  virtual bool isRegTest() const { return false; }
};
