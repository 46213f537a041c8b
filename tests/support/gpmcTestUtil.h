#pragma once
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "gpmcDevCtl.h"
#include "gpmcDevMap.h"
#include "gpmcDevRamp.h"
#include "gpmcDevStat.h"
#include "cmdRun.h"
#include "testEnv.h"
#include "textUtil.h"

// Each test starts from a freshly powered-on instrument on the given board.
class GpmcTest : public ::testing::Test {
protected:
  void SetUp() override {
    simctl({"reset"});
    simctl({"set", "board", board()});
    trace.mark();
  }
  virtual const char* board() const { return "signal"; }
  static GpmcDev* dev(const char* name) { return testBoard().fpga.find(name); }
  static unsigned short peek(const std::string& space, const std::string& addr) {
    return static_cast<unsigned short>(std::stoul(simctl({"fpga", "peek", space, addr}), nullptr, 16));
  }
  // The FPGA lines of the trace since the last mark.
  std::vector<std::string> fpgaLines() const { return trace.grep("fpga "); }
  // The values written at one address since the last mark, in order: "0x1000 0x0000".
  std::string wrote(const std::string& addr, const std::string& space = "reg") const {
    std::string out;
    for (const std::string& l : trace.grep("fpga wr " + space + " " + addr + " "))
      out += (out.empty() ? "" : " ") + l.substr(l.rfind(' ') + 1);
    return out;
  }

  // Runs f, which checks its own status, and expects each of texts in what it printed.
  static void expectPrints(const std::function<void()>& f, const std::vector<std::string>& texts) {
    EXPECT_TRUE(holdsAll(captured(f), texts));
  }

  Trace trace;
  GpmcDev* reg = dev("reg");
  GpmcDevCtl ctl{*reg};
  GpmcDevStat stat{*reg};
  GpmcDevRamp ramp{*reg};
};
