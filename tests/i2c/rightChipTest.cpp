// Random sequences of accesses by registry name, each checked against the
// named chip's own contents as the simulator holds them: a read shows that
// chip's bytes and no other's, a write lands in that chip and in no other,
// whatever the previous access left selected.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "cmdRun.h"
#include "i2cTestUtil.h"
#include "programs.h"
#include "textUtil.h"

namespace {
struct Chip {
  const char* name;     // as the registry names it
  const char* simName;  // as the simulator does
  bool memory;          // a 24LC32A (plain, two offset bytes); else a chip of byte registers
  unsigned lo, hi;      // registers a test may use
  bool writable = true;
};

// A chip's byte at reg, as the simulator holds it.
unsigned peek(const Chip& c, unsigned reg) {
  return static_cast<unsigned>(strtoul(simctl({"i2c", "peek", c.simName, std::to_string(reg)}).c_str(), nullptr, 0));
}

// The bytes a read printed: the hex pairs before each dump line's text column, or one 0xNN.
std::vector<unsigned> bytesShown(const std::string& out) {
  std::vector<unsigned> b;
  for (const std::string& l : splitLines(out)) {
    if (l.rfind("0x", 0) == 0) return {static_cast<unsigned>(strtoul(l.c_str(), nullptr, 16))};
    for (size_t k = 0; k + 1 < l.size() && isxdigit(static_cast<unsigned char>(l[k])); k += 2)
      b.push_back(static_cast<unsigned>(strtoul(l.substr(k, 2).c_str(), nullptr, 16)));
  }
  return b;
}

class Walk {
public:
  Walk(std::vector<Chip> chips, unsigned seed) : chips(std::move(chips)), rng(seed) {}
  virtual ~Walk() = default;
  virtual std::string run(const std::string& line) = 0;

  void step(int n) {
    const Chip& c = chips[pick(chips.size())];
    bool write = c.writable && pick(3) == 0;
    unsigned count = c.memory ? 1 + pick(write ? 8 : 24) : 1;
    unsigned at = c.lo + pick(c.hi - c.lo + 2 - count);  // every start that leaves room for count
    if (c.memory && write) at -= (at % 32 + count > 32) ? (at % 32 + count - 32) : 0;  // within one page
    std::string line = std::string("i2c -d ") + c.name + " -o " + formatted("0x%x", at);
    SCOPED_TRACE("step " + std::to_string(n) + ": " + line);
    if (write) return writeStep(c, line, at, count);
    std::vector<unsigned> want;
    for (unsigned k = 0; k < count; ++k) want.push_back(peek(c, at + k));
    EXPECT_EQ(bytesShown(run(line + " -r " + std::to_string(count))), want);
  }

private:
  void writeStep(const Chip& c, std::string line, unsigned at, unsigned count) {
    std::vector<std::vector<unsigned>> others;  // the same addresses of every other chip, before
    for (const Chip& o : chips) {
      std::vector<unsigned> v;
      for (unsigned k = 0; k < count && at + k <= o.hi; ++k) v.push_back(&o == &c ? 0 : peek(o, at + k));
      others.push_back(v);
    }
    line += " -w";
    std::vector<unsigned> data;
    for (unsigned k = 0; k < count; ++k) data.push_back(pick(256));
    for (unsigned d : data) line += formatted(" 0x%x", d);
    run(line);
    for (unsigned k = 0; k < count; ++k) EXPECT_EQ(peek(c, at + k), data[k]) << c.name;
    for (size_t i = 0; i < chips.size(); ++i)
      for (unsigned k = 0; k < others[i].size(); ++k)
        if (&chips[i] != &c) {
          EXPECT_EQ(peek(chips[i], at + k), others[i][k]) << "written into " << chips[i].name;
        }
  }
  unsigned pick(size_t n) { return static_cast<unsigned>(std::uniform_int_distribution<size_t>(0, n - 1)(rng)); }

  std::vector<Chip> chips;
  std::mt19937 rng;
};

struct InProcess : Walk {
  using Walk::Walk;
  std::string run(const std::string& line) override { return runCmd(line).out; }
};

struct OneShot : Walk {
  using Walk::Walk;
  std::string run(const std::string& line) override {
    std::vector<std::string> args;
    std::istringstream words(line);
    for (std::string w; words >> w;) args.push_back(w);
    return runSim(args).out;
  }
};

unsigned seed() {
  const char* s = getenv("DIAG_TEST_SEED");
  return s ? static_cast<unsigned>(strtoul(s, nullptr, 0)) : std::random_device()();
}

// The sensors answer with their own limits, set apart so that one cannot pass for the other.
void setSensorsApart() {
  simctls({{"i2c", "poke", "mrtmp1", "0x06", "0x11"}, {"i2c", "poke", "mrtmp2", "0x06", "0x22"}});
}

using RightChip = FreshSim;
}  // namespace

TEST_F(RightChip, MainHostAccessesReachTheNamedChipOnly) {
  setSensorsApart();
  unsigned s = seed();
  SCOPED_TRACE("DIAG_TEST_SEED=" + std::to_string(s));
  const char* eeproms[][2] = {{"mhEeprom", "mh-eeprom"},   {"commEeprom", "comm-eeprom"}, {"fcEeprom", "fc-eeprom"},
                              {"mrEeprom", "mr-eeprom"},   {"bpEeprom", "bp-eeprom"},     {"smcEeprom", "smc-eeprom"},
                              {"fpioEeprom", "fpio-eeprom"}, {"fprlyEeprom", "fprly-eeprom"}};
  std::vector<Chip> chips;
  for (auto& e : eeproms) chips.push_back({e[0], e[1], true, 0, 4095});
  chips.push_back({"fpfpga", "fpfpga", false, 0x20, 0x7f});
  chips.push_back({"mrtmp1", "mrtmp1", false, 0x06, 0x06, false});
  chips.push_back({"mrtmp2", "mrtmp2", false, 0x06, 0x06, false});
  InProcess walk(chips, s);
  for (int n = 0; n < 300 && !testing::Test::HasFailure(); ++n) walk.step(n);
}

TEST_F(RightChip, SignalHostAccessesReachTheNamedChipOnly) {
  simctl({"set", "board", "signal"});
  unsigned s = seed();
  SCOPED_TRACE("DIAG_TEST_SEED=" + std::to_string(s));
  OneShot walk({{"shEeprom", "sh-eeprom", true, 0, 4095},
                {"mc1Eeprom", "mc1-eeprom", true, 0, 4095},
                {"mc2Eeprom", "mc2-eeprom", true, 0, 4095},
                {"hvuc3", "hvuc3", false, 0x20, 0x7f}},
               s);
  for (int n = 0; n < 40 && !testing::Test::HasFailure(); ++n) walk.step(n);
}
