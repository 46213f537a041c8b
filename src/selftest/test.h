#pragma once
#include <string>
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
};

// A registered test whose hardware this build cannot reach: it says so and
// prints no verdict.
class UnavailableTest : public Test {
public:
  UnavailableTest(std::string nm, std::string helpString, bool, bool) : Test(std::move(nm), std::move(helpString), "") {}
  E_STATUS runTest(int argc, char argv[][ARG_LEN]) override;
};
