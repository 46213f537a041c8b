#pragma once
#include "test.h"

// A test that walks a single one and then a single zero through a word it
// writes and reads back: whether it reports each mismatch and goes on after
// one, and the words of the step in progress.
template <typename W>
class WalkTest : public Test {
public:
  WalkTest(std::string nm, std::string helpString, bool rprt, bool contOnErr)
      : Test(std::move(nm), std::move(helpString), ""), rprt(rprt), contOnErr(contOnErr) {}

  bool rprt;
  bool contOnErr;
  W wrDatum = 0;  // written at this step
  W rdDatum = 0;  // what read back
  W ORValue = 0;  // shifted in behind the walking bit: 0 behind the one, 1 behind the zero
};
