#pragma once
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "gpmcDevMap.h"
#include "testEnv.h"

// Each test starts from a freshly powered-on instrument on the given board.
class GpmcTest : public ::testing::Test {
protected:
  void SetUp() override {
    simctl({"reset"});
    simctl({"set", "board", board()});
    trace.mark();
  }
  virtual const char* board() const { return "signal"; }
  static GpmcDev* dev(const char* name) { return GpmcDevMap::find(name); }
  static unsigned short peek(const std::string& space, const std::string& addr) {
    return static_cast<unsigned short>(std::stoul(simctl({"fpga", "peek", space, addr}), nullptr, 16));
  }
  // Runs f with standard output captured; returns what it printed.
  template <typename F>
  static std::string output(F f) {
    ::testing::internal::CaptureStdout();
    f();
    return ::testing::internal::GetCapturedStdout();
  }
  // The FPGA lines of the trace since the last mark.
  std::vector<std::string> fpgaLines() const { return trace.grep("fpga "); }

  Trace trace;
};

inline bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }
