#pragma once
#include <span>
#include <string>

#include "args.h"
#include "diagStatus.h"

// A named self-test of the instrument's hardware, run by "runtest <name>".
// runTest reads the test's own words (after "runtest" and its name) from its
// declaration, as a command's are read: -h prints its usage, and a word it does
// not have, or a bad number, is refused before anything is done. A value left
// out drops its option. Then the test itself runs.
class Test {
public:
  Test(std::string nm, std::string helpString, std::string OLEDString)
      : nm(std::move(nm)), helpString(std::move(helpString)), OLEDString(std::move(OLEDString)) {}
  virtual ~Test() = default;
  // Receives the whole runtest line: row 0 "runtest", row 1 the test name, then its options.
  E_STATUS runTest(int argc, char argv[][ARG_LEN]);

  std::string nm;
  std::string helpString;
  std::string OLEDString;

protected:
  // The test's usage lines before those of its options, and its options.
  virtual std::span<const char* const> usageHead() const { return {}; }
  virtual std::span<const OptDecl* const> options() const { return {}; }
  virtual E_STATUS run(const Args& args) = 0;
};

// The options of the tests that loop: "-l <loops>" (0: until stopped) and
// "-coe" (register walks: continue on error).
extern const OptDecl loopOpt;
extern const OptDecl coeOpt;
extern const OptDecl* const loopTestOpts[2];

// A registered test whose hardware this build cannot reach: it says so and
// prints no verdict. A register test among them still has its usage.
class UnavailableTest : public Test {
public:
  UnavailableTest(std::string nm, std::string helpString, bool, bool) : Test(std::move(nm), std::move(helpString), "") {}

protected:
  E_STATUS run(const Args& args) override;
  std::span<const OptDecl* const> options() const override {
    return isRegTest() ? std::span<const OptDecl* const>(loopTestOpts) : std::span<const OptDecl* const>();
  }
  virtual bool isRegTest() const { return false; }
};
