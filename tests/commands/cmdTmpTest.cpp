#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cmdRun.h"
#include "testEnv.h"
#include "textUtil.h"

namespace {
using SimCmds = std::vector<std::vector<std::string>>;

using TempCmdTest = FreshSim;

// What the sensor measures and holds, and the lines mrtmp decodes from it:
// negative temperatures with their eighths, limits with and without low
// bytes, each status bit.
TEST_F(TempCmdTest, MrtmpDecodesTemperaturesLimitsAndEachStatusBit) {
  const auto sensor = [](const char* ch, const char* deg) { return std::vector<std::string>{"set", "sensor", "mrtmp1", ch, deg}; };
  const auto poke = [](const char* reg, const char* v) { return std::vector<std::string>{"i2c", "poke", "mrtmp1", reg, v}; };
  const struct { SimCmds setup; std::vector<std::string> lines; } rows[] = {
      {{sensor("local", "-40.125"), sensor("remote", "-0.125")},
       {"  local  -40.125 C    high 70.000, low 0.000, critical 85.000\n", "  remote -0.125 C     ",
        "status 0x28: local low, remote low\n"}},
      {{sensor("local", "25.875"), sensor("remote", "100.5"), poke("0x13", "0xa0"), poke("0x06", "0xf6")},
       {"  local  25.875 C     high 70.000, low -10.000,",
        "  remote 100.500 C    high 70.625, low 0.000, critical 85.000, offset 0.000\n",
        "status 0x12: remote high, remote critical\n"}},
      {{sensor("local", "86"), sensor("remote", "30")}, {"status 0x41: local high, local critical\n"}},
      {{sensor("local", "30"), sensor("remote", "30"), poke("0x11", "0xfe"), poke("0x12", "0x80")},
       {"  remote 28.500 C     ", "offset -1.500\n", "status 0x00: no alarm\n"}},
  };
  for (const auto& row : rows) {
    simctl({"reset"});
    for (const auto& c : row.setup) simctl(c);
    CmdResult r = runCmd("mrtmp -s 1");
    EXPECT_EQ(r.status, SUCCESS) << r.out;
    EXPECT_EQ(r.out.rfind("mrtmp1(0x48): manufacturer 0xa1, die revision 0x00\n", 0), 0u) << r.out;
    EXPECT_TRUE(holdsAll(r.out, row.lines));
    EXPECT_FALSE(contains(r.out, "mrtmp2"));
  }
}

// Both sensors by default, the register dump on request; a sensor that does
// not answer is said so, the other one is still shown, and the command fails.
TEST_F(TempCmdTest, MrtmpShowsBothSensorsAndOneThatDoesNotAnswer) {
  simctl({"set", "sensor", "mrtmp2", "local", "12.25"});
  CmdResult r = runCmd("mrtmp -r");
  EXPECT_EQ(r.status, SUCCESS);
  EXPECT_TRUE(holdsAll(r.out, {"mrtmp2(0x4c): manufacturer 0xa1", "  local  12.250 C ", "MFR_ID (0xfe/--)......"}));

  simctl({"i2c", "absent", "mrtmp2", "on"});
  r = runCmd("mrtmp");
  EXPECT_NE(r.status, SUCCESS);
  EXPECT_TRUE(holdsAll(r.out, {"mrtmp1(0x48): manufacturer", "mrtmp2(0x4c): register LCL_TEMP (0x00) not read\n"}));
  EXPECT_FALSE(contains(r.out, "mrtmp2(0x4c): manufacturer"));
}

// A write goes to the register's write address and is read back at its read
// address; a mismatch fails with both values; what cannot be written is refused.
TEST_F(TempCmdTest, MrtmpwrWritesThroughTheWriteAddressWithReadBack) {
  Trace t;
  CmdResult r = runCmd("mrtmpwr -s 2 -o lcl_high -d 0x50");
  EXPECT_EQ(r.status, SUCCESS) << r.out;
  EXPECT_EQ(r.out, "mrtmp2 LCL_HIGH = 0x50\n");
  EXPECT_FALSE(t.grep("0x4c smbus write byte_data cmd 0x0b data 50").empty());
  EXPECT_EQ(simctl({"i2c", "peek", "mrtmp2", "0x05"}), "0x50\n");
  EXPECT_EQ(runCmd("mrtmpwr -s 1 -o 0x13 -d 0x60").status, SUCCESS);
  EXPECT_EQ(simctl({"i2c", "peek", "mrtmp1", "0x13"}), "0x60\n");

  simctl({"i2c", "stuck", "mrtmp1", "0x06", "0", "1"});
  EXPECT_EQ(runCmd("mrtmpwr -s 1 -o 0x06 -d 0x10").status, FAILURE);  // its message is in docs/temperatures.md

  t.mark();
  EXPECT_EQ(runCmd("mrtmpwr -s 1 -o ONE_SHOT -d 0").status, SUCCESS);
  EXPECT_EQ(runCmd("mrtmpwr -s 1 -o 0x0f -d 0").status, SUCCESS);
  EXPECT_EQ(t.grep("cmd 0x0f data 00").size(), 2u);

  const struct { const char* line; const char* says; } refused[] = {
      {"mrtmpwr -s 1 -o STATUS -d 1", "STATUS (0x02) is read-only"},
      {"mrtmpwr -s 1 -o 0x0b -d 1", "0x0b is where LCL_HIGH is written: name it by its read address 0x05 or as LCL_HIGH"},
      {"mrtmpwr -s 1 -o 0x33 -d 1", "mrtmp1 has no register read at 0x33"},
      {"mrtmpwr -s 1 -o HOT -d 1", "mrtmp1 has no register HOT"},
      {"mrtmpwr -o LCL_HIGH -d 1", "mrtmpwr needs -s, -o and -d"},
      {"mrtmpwr -s 3 -o LCL_HIGH -d 1", "out of range"},
  };
  t.mark();
  for (const auto& c : refused) {
    r = runCmd(c.line);
    EXPECT_EQ(r.status, BAD_PARAMETER) << c.line;
    EXPECT_TRUE(contains(r.out, c.says)) << c.line << "\n" << r.out;
  }
  EXPECT_TRUE(t.grep(" write ").empty());
}
}  // namespace
