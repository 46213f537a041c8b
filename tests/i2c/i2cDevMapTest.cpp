// The device registry per board, and the detection it is built on. What each
// device is and where it sits shows in the i2c command's list.
#include <gtest/gtest.h>

#include <tuple>

#include "i2cDevMap.h"
#include "i2cEeprom.h"
#include "i2cHostDetect.h"
#include "cmdRun.h"
#include "i2cTestUtil.h"
#include "textUtil.h"

using I2cRegistry = I2cTest;

// Detected as main host (0), front panel (1), main reference (2) or none
// (-1), each board has its devices and not another board's.
TEST_F(I2cRegistry, EachBoardIsDetectedFromSysfsAndGetsItsOwnTable) {
  for (auto [board, which, mine, other] : {std::tuple{"main", 0, "fctl", "shostsw"}, {"signal", -1, "shostsw", "fctl"},
                                          {"fp", 1, "fpEeprom", "hostsw"}, {"mref", 2, "mrefEeprom", "fpEeprom"}}) {
    SCOPED_TRACE(board);
    simctl({"set", "board", board});
    EXPECT_EQ(isMainHost(), which == 0);
    EXPECT_EQ(isFrontPanel(), which == 1);
    EXPECT_EQ(isMainRef(), which == 2);
    I2cDevMap m{testBoard().i2cSem};
    EXPECT_EQ(m.devices().count(mine), 1u);
    EXPECT_EQ(m.devices().count(other), 0u);
  }
}

// A page write that would cross its page is refused: the memory would wrap to the page's start.
TEST_F(I2cRegistry, AnEepromPageWriteStaysInItsPage) {
  I2cEeprom mem(testBoard().i2c, "bpEeprom");
  const unsigned char b[4] = {1, 2, 3, 4};
  EXPECT_EQ(mem.wrPage(28, b, 4), SUCCESS);
  EXPECT_TRUE(contains(captured([&] { EXPECT_EQ(mem.wrPage(30, b, 4), BAD_PARAMETER); }), "4 bytes at 0x01e do not fit"));
}

// Each path is handed the multiplexers of its own host on the board the
// registry was built for; the revision picks the mux or the switch.
TEST_F(I2cRegistry, PathsSelectThroughTheirBoardsOwnMultiplexers) {
  const struct { const char* board; int rev; const char* device; const char* writes; } cases[] = {
      {"signal", 3, "mc2Eeprom", "0x70 write 08 "},
      {"signal", 2, "mc2Eeprom", "0x76 write 07 "},
      {"main", 3, "fpioEeprom", "0x71 write 08 0x72 write 02 "},
      {"main", 2, "fpioEeprom", "0x74 write 07 0x75 write 05 "},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.board) + " " + c.device);
    simctls({{"reset"}, {"set", "board", c.board}, {"set", "rev", std::to_string(c.rev)}});
    I2cDevMap m{testBoard().i2cSem};
    m.devices();  // filled (and its sensor probed) before the trace looks
    Bus bus;
    Trace t;
    EXPECT_EQ(m.devices().at(c.device)->path->setMuxes(1, bus.fd), SUCCESS);
    EXPECT_EQ(busWrites(t), c.writes);
  }
}

TEST_F(I2cRegistry, SwitchAddressesComeFromTheirSysfsNames) {
  simctls({{"set", "switch", "host", "pca9545"}, {"set", "switch", "fp", "pca9545"}});
  I2cDevMap m{testBoard().i2cSem};
  EXPECT_EQ(m.find("hostsw")->address, 0x69u);
  EXPECT_EQ(m.find("fpsw")->address, 0x6Au);
  simctls({{"set", "board", "signal"}, {"set", "switch", "shost", "pca9545"}});
  I2cDevMap signal(testBoard().i2cSem);
  EXPECT_EQ(signal.find("shostsw")->address, 0x68u);
  // A switch that sysfs does not name is where the board's table puts it, which is where the part answers.
  simctl({"set", "switch", "shost", "undeclared"});
  EXPECT_EQ(I2cDevMap(testBoard().i2cSem).find("shostsw")->address, 0x70u);
  simctls({{"set", "board", "main"}, {"set", "switch", "host", "undeclared"}, {"set", "switch", "fp", "undeclared"}});
  I2cDevMap undeclared(testBoard().i2cSem);
  EXPECT_TRUE(undeclared.find("hostsw")->address == 0x71u && undeclared.find("fpsw")->address == 0x72u);
}

TEST_F(I2cRegistry, ProbeFindsTheMainReferenceSensorAndDeselectsTheSwitch) {
  simctls({{"set", "switch", "host", "pca9545"}, {"set", "mref-addr", "0x4d"}});
  Trace t;
  I2cDevMap m{testBoard().i2cSem};
  EXPECT_EQ(m.find("mrtmp1")->address, 0x4Du);
  EXPECT_EQ(t.grep("i2c-2 0x"), (std::vector<std::string>{"i2c-2 0x69 write 04", "i2c-2 0x48 write 00 -> EREMOTEIO",
                                                          "i2c-2 0x4d write 00", "i2c-2 0x69 write 00"}));
  // Asked for while its caller holds the bus semaphore, the probe takes it once more, not waiting on itself.
  ASSERT_EQ(testBoard().i2cSem.take(true), SUCCESS);
  EXPECT_EQ(I2cDevMap{testBoard().i2cSem}.find("mrtmp1")->address, 0x4Du);
  testBoard().i2cSem.give();
}

TEST_F(I2cRegistry, BelowRevisionThreeNothingIsSearchedOrProbed) {
  simctls({{"set", "rev", "2"}, {"set", "mref-addr", "0x4d"}});
  Trace t;
  I2cDevMap m{testBoard().i2cSem};
  EXPECT_TRUE(t.grep("/sys/bus/i2c/devices").empty());
  EXPECT_TRUE(t.grep("i2c-2 ").empty());
  EXPECT_EQ(m.find("hostsw")->address, 0x71u);
  EXPECT_EQ(m.find("mrtmp1")->address, 0x48u);
}

// The registry's own search, for a name at 0x69, is checked above.
TEST_F(I2cRegistry, SwitchSearchMatchesTheNameOfAnyCandidate) {
  simctl({"set", "switch", "host", "pca9545"});  // sysfs lists "pca9545" at 0x69
  char hw[20] = "";
  // The entry at 0x69 carries the first candidate's name: that candidate's address is the answer.
  I2cAddrSearchInfo_t swapped = {2, {{0x71, "pca9545"}, {0x69, "pca9545APW"}}};
  EXPECT_EQ(searchForI2cMuxSwAddr(&swapped, hw), 0x71);
  EXPECT_STREQ(hw, "pca9545");
  I2cAddrSearchInfo_t nowhere = {2, {{0x11, "pca9545APW"}, {0x12, "pca9545"}}};
  EXPECT_EQ(searchForI2cMuxSwAddr(&nowhere, hw), -1);
  EXPECT_STREQ(hw, "unknown");
  I2cAddrSearchInfo_t bus3 = {3, {{0x71, "pca9545APW"}, {0x69, "pca9545"}}};  // another adapter
  EXPECT_EQ(searchForI2cMuxSwAddr(&bus3, hw), -1);
  EXPECT_EQ(searchForI2cMuxSwAddr(nullptr, hw), -1);
  EXPECT_EQ(searchForI2cMuxSwAddr(&swapped, nullptr), -1);
}

TEST_F(I2cRegistry, SensorProbeReportsEachWayToFail) {
  Bus bus;
  ASSERT_TRUE(bus.select(0x71, 0x04));
  Trace t;
  EXPECT_EQ(probe_I2cSensAddr(bus.fd, 0, 0x04, 0x48, 0x4D, 0), 0x48);  // no switch address: no switch traffic
  EXPECT_TRUE(t.grep("0x71").empty());
  const int fails[][4] = {{-1, 0x71, 0x48, -2}, {bus.fd, 0x71, -1, -1}, {bus.fd, -1, 0x48, -1},
                          {bus.fd, 0x80, 0x48, -3}, {bus.fd, 0x33, 0x48, -4}};  // fd, switch, addr1, result
  for (const auto& f : fails) EXPECT_EQ(probe_I2cSensAddr(f[0], f[1], 0x04, f[2], 0x4D, 0), f[3]) << f[1];
  t.mark();
  EXPECT_EQ(probe_I2cSensAddr(bus.fd, 0x71, 0x08, 0x48, 0x4D, 0), -1);  // wrong channel: nobody answers
  EXPECT_EQ(t.grep("0x71 write 00").size(), 1u);  // and the switch is deselected all the same
  EXPECT_EQ(probe_I2cSensAddr(bus.fd, 0x71, 0x04, 0, 0x48, 0), 0x48);  // only a negative address is refused
  simctl({"kernel", "fail", "ioctl", "i2c-2", "EIO", "0x0706", "after", "2", "times", "1"});  // the switch not addressed again
  EXPECT_EQ(probe_I2cSensAddr(bus.fd, 0x71, 0x04, 0x48, 0x4D, 0), -3);
  simctl({"i2c", "vanish", "hostsw", "1"});  // takes the channel, not the deselect
  EXPECT_EQ(probe_I2cSensAddr(bus.fd, 0x71, 0x04, 0x48, 0x4D, 0), -5);
}
