// The device registry per board, and the detection it is built on.
#include <gtest/gtest.h>

#include <cstring>

#include "i2cDevMap.h"
#include "i2cHostDetect.h"
#include "i2cTestUtil.h"

namespace {
class I2cRegistry : public ::testing::Test {
protected:
  void SetUp() override { resetSim(); }
};

struct Expect {
  const char* name;
  unsigned address;
  unsigned hostMux, localMux;
  bool smbus;
  const char* description;
};
}  // namespace

TEST_F(I2cRegistry, MainHostHasEveryBoardDeviceWithPathModeAndDescription) {
  const Expect main[] = {
      {"hostsw", 0x71, NO_MUX, NO_MUX, false, "Main Host 1     0980 Host I2C Switch PCA9545"},
      {"hostmux", 0x74, NO_MUX, NO_MUX, false, nullptr},
      {"mhEeprom", 0x56, NO_MUX, NO_MUX, false, "Main Host 1     0980 Main Host EEPROM 24LC32A"},
      {"commEeprom", 0x50, 0, NO_MUX, false, "Main Host 1 0   0996 Communications EEPROM 24LC32A"},
      {"fctl", 0x52, 1, NO_MUX, true, "Main Host 1 1   0995 Fan Controller MAX31785"},
      {"fcEeprom", 0x50, 1, NO_MUX, false, "Main Host 1 1   0995 Fan Control EEPROM 24LC32A"},
      {"mrtmp1", 0x48, 2, NO_MUX, true, nullptr},
      {"mrtmp2", 0x4C, 2, NO_MUX, true, nullptr},
      {"mrEeprom", 0x50, 2, NO_MUX, false, "Main Host 1 2   0989 Main Reference EEPROM 24LC32A"},
      {"bpEeprom", 0x50, 3, NO_MUX, false, "Main Host 1 3   0970 Back Plane EEPROM 24LC32A"},
      {"fpsw", 0x72, 3, NO_MUX, false, nullptr},
      {"fpmux", 0x75, 3, NO_MUX, false, nullptr},
      {"smcEeprom", 0x50, 3, 0, false, "Main Host 1 3 0 1000 SRC/Meas Connector EEPROM 24LC32A"},
      {"fpfpga", 0x40, 3, 1, true, "Main Host 1 3 1 0981 Front Panel FPGA"},
      {"fpioEeprom", 0x50, 3, 1, false, "Main Host 1 3 1 0981 Front Panel - Input/Output EEPROM 24LC32A"},
      {"fprlyEeprom", 0x50, 3, 3, false, "Main Host 1 3 3 0997 Front Panel - Relay EEPROM 24LC32A"},
  };
  I2cDevMap m;
  EXPECT_EQ(m.map.size(), std::size(main));
  for (const Expect& e : main) {
    SCOPED_TRACE(e.name);
    ASSERT_EQ(m.map.count(e.name), 1u);
    I2cDev& d = *m.map[e.name];
    EXPECT_EQ(d.adapter, 2u);
    EXPECT_EQ(d.address, e.address);
    EXPECT_EQ(d.host, MAIN);
    EXPECT_EQ(d.smbus, e.smbus);
    I2CPath& p = d.pTstAxs->getPath();
    EXPECT_EQ(p.hostMux, e.hostMux);
    EXPECT_EQ(p.localMux, e.localMux);
    EXPECT_EQ(p.devName, e.name);
    if (e.description) {
      EXPECT_EQ(d.description, e.description);
    }
  }
  EXPECT_TRUE(m.map["fprlyEeprom"]->axsTestedDuringPOST);
  EXPECT_TRUE(m.map["hostmux"]->notOnLaterRevs);
}

TEST_F(I2cRegistry, SwitchAddressesComeFromTheirSysfsNames) {
  simctl({"set", "switch", "host", "pca9545"});
  simctl({"set", "switch", "fp", "pca9545"});
  I2cDevMap m;
  EXPECT_EQ(m.map["hostsw"]->address, 0x69u);
  EXPECT_EQ(m.map["fpsw"]->address, 0x6Au);
}

TEST_F(I2cRegistry, ProbeFindsTheMainReferenceSensorAndDeselectsTheSwitch) {
  simctl({"set", "switch", "host", "pca9545"});
  simctl({"set", "mref-addr", "0x4d"});
  Trace t;
  I2cDevMap m;
  EXPECT_EQ(m.map["mrtmp1"]->address, 0x4Du);
  std::vector<std::string> w = t.grep("i2c-2 0x");
  ASSERT_EQ(w.size(), 4u);
  EXPECT_EQ(w[0], "i2c-2 0x69 write 04");
  EXPECT_EQ(w[1], "i2c-2 0x48 write 00 -> EREMOTEIO");
  EXPECT_EQ(w[2], "i2c-2 0x4d write 00");
  EXPECT_EQ(w[3], "i2c-2 0x69 write 00");
}

TEST_F(I2cRegistry, BelowRevisionThreeNothingIsSearchedOrProbed) {
  simctl({"set", "rev", "2"});
  simctl({"set", "mref-addr", "0x4d"});
  Trace t;
  I2cDevMap m;
  EXPECT_TRUE(t.grep("/sys/bus/i2c/devices").empty());
  EXPECT_TRUE(t.grep("i2c-2 ").empty());
  EXPECT_EQ(m.map["hostsw"]->address, 0x71u);
  EXPECT_EQ(m.map["mrtmp1"]->address, 0x48u);
}

TEST_F(I2cRegistry, OtherBoardsGetTheirOwnDevices) {
  simctl({"set", "board", "signal"});
  simctl({"set", "switch", "shost", "pca9545"});
  I2cDevMap sig;
  EXPECT_EQ(sig.map.count("fctl"), 0u);
  EXPECT_EQ(sig.map["shostsw"]->address, 0x68u);
  EXPECT_EQ(sig.map["shEeprom"]->description, "Signal Host 1   0984 Signal Host EEPROM 24LC32A");
  EXPECT_EQ(sig.map["mc2Eeprom"]->description, "Signal Host 1 3 0985 Measure Channel 2 EEPROM 24LC32A");
  EXPECT_EQ(sig.map["hvuc3"]->description,
            "Signal Host 1 1 0976 H.V. Source PSOC microcontroller - stage 3 CY8C28545");
  EXPECT_EQ(sig.map["mc1i2cspi"]->host, SIGNAL);
  EXPECT_EQ(sig.map.count("fpsw"), 1u);  // its second-level selection is written there

  simctl({"set", "board", "fp"});
  I2cDevMap fp;
  ASSERT_EQ(fp.map.size(), 1u);
  EXPECT_EQ(fp.map.begin()->second->address, 0x53u);
  simctl({"set", "board", "mref"});
  I2cDevMap mref;
  ASSERT_EQ(mref.map.size(), 1u);
  EXPECT_EQ(mref.map.begin()->second->address, 0x50u);
}

TEST_F(I2cRegistry, HostDetectionReadsTheAdapterSysfsTree) {
  const std::pair<const char*, int> boards[] = {{"main", 0}, {"signal", -1}, {"fp", 1}, {"mref", 2}};
  for (auto [board, which] : boards) {
    SCOPED_TRACE(board);
    simctl({"set", "board", board});
    EXPECT_EQ(isMainHost(), which == 0);
    EXPECT_EQ(isFrontPanel(), which == 1);
    EXPECT_EQ(isMainRef(), which == 2);
  }
}

TEST_F(I2cRegistry, SwitchSearchMatchesNamesInCandidateOrder) {
  char hw[20];
  I2cAddrSearchInfo_t host = {2, {{0x71, "pca9545APW"}, {0x69, "pca9545"}}};
  EXPECT_EQ(searchForI2cMuxSwAddr(&host, hw), 0x71);
  EXPECT_STREQ(hw, "pca9545APW");
  simctl({"set", "switch", "host", "pca9545"});
  EXPECT_EQ(searchForI2cMuxSwAddr(&host, hw), 0x69);
  EXPECT_STREQ(hw, "pca9545");
  // The entry found at 0x69 carries the other candidate's name: that candidate's address is the answer.
  I2cAddrSearchInfo_t swapped = {2, {{0x71, "pca9545"}, {0x69, "pca9545APW"}}};
  EXPECT_EQ(searchForI2cMuxSwAddr(&swapped, hw), 0x71);
  EXPECT_STREQ(hw, "pca9545");
  I2cAddrSearchInfo_t nowhere = {2, {{0x11, "pca9545APW"}, {0x12, "pca9545"}}};
  EXPECT_EQ(searchForI2cMuxSwAddr(&nowhere, hw), -1);
  EXPECT_STREQ(hw, "unknown");
  I2cAddrSearchInfo_t bus3 = {3, {{0x71, "pca9545APW"}, {0x69, "pca9545"}}};
  EXPECT_EQ(searchForI2cMuxSwAddr(&bus3, hw), -1);
  EXPECT_EQ(searchForI2cMuxSwAddr(nullptr, hw), -1);
  EXPECT_EQ(searchForI2cMuxSwAddr(&host, nullptr), -1);
}

TEST_F(I2cRegistry, SensorProbeReportsEachWayToFail) {
  Bus bus;
  ASSERT_TRUE(bus.select(0x71, 0x04));
  Trace t;
  EXPECT_EQ(probe_I2cSensAddr(bus.fd, 0, 0x04, 0x48, 0x4D, 0), 0x48);  // no switch address: no switch traffic
  EXPECT_TRUE(t.grep("0x71").empty());
  EXPECT_EQ(probe_I2cSensAddr(-1, 0x71, 0x04, 0x48, 0x4D, 0), -2);
  EXPECT_EQ(probe_I2cSensAddr(bus.fd, 0x71, 0x04, -1, 0x4D, 0), -1);
  EXPECT_EQ(probe_I2cSensAddr(bus.fd, -1, 0x04, 0x48, 0x4D, 0), -1);
  EXPECT_EQ(probe_I2cSensAddr(bus.fd, 0x80, 0x04, 0x48, 0x4D, 0), -3);
  EXPECT_EQ(probe_I2cSensAddr(bus.fd, 0x33, 0x04, 0x48, 0x4D, 0), -4);  // nothing at the switch address
  t.mark();
  EXPECT_EQ(probe_I2cSensAddr(bus.fd, 0x71, 0x08, 0x48, 0x4D, 0), -1);  // wrong channel: nobody answers
  EXPECT_TRUE(t.grep("0x71 write 00").empty());  // and the switch stays selected
}
