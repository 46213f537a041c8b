// Selecting a device's multiplexer path: chip and control byte by board
// revision, which is read anew for each selection.
#include <gtest/gtest.h>

#include "i2cDevMap.h"
#include "i2cPath.h"
#include "cmdRun.h"
#include "i2cTestUtil.h"
#include "programs.h"
#include "textUtil.h"

namespace {
// The registry is built before the counts and traces the tests look at.
class I2cPathSelect : public FreshBoard {
protected:
  // A new revision, as the next command sees it.
  void rev(int r) {
    simctl({"set", "rev", std::to_string(r)});
    testBoard().i2c.beginCommand();
  }
};
}  // namespace

TEST_F(I2cPathSelect, ControlBytesByHostAndRevision) {
  Bus bus;
  const struct { int rev; const char* name; E_HOST host; unsigned hostMux, localMux; const char* writes; } cases[] = {
      {2, "bpEeprom", MAIN, 3, NO_MUX, "0x74 write 07 "},
      {3, "bpEeprom", MAIN, 3, NO_MUX, "0x71 write 08 "},
      {4, "fpfpga", MAIN, 3, 1, "0x71 write 08 0x72 write 02 "},
      {2, "fpfpga", MAIN, 3, 1, "0x74 write 07 0x75 write 05 "},
      {4, "x", SIGNAL, 3, 1, "0x72 write 05 "},  // the signal host's second level: the old way, to the switch
      {3, "x", MAIN, NO_MUX, 1, ""},
      {3, "x", CORE, 1, 1, ""},
  };
  for (const auto& c : cases) {
    rev(c.rev);
    Trace t;
    kernel().resetCounts();
    I2CPath p(c.name, c.host, c.hostMux, c.localMux, testBoard().i2c.muxesFor(c.host));
    EXPECT_EQ(c.host == SIGNAL ? p.setSigLclMux(1, bus.fd) : p.setMuxes(1, bus.fd), SUCCESS);
    EXPECT_EQ(busWrites(t), c.writes) << c.name << " rev " << c.rev;
    if (!*c.writes) {
      EXPECT_EQ(kernel().counts().total(), 0u);
    }
  }
}

// A switch that does not take its control byte, or does not hold it, fails
// the selection with a line that names it: the access would otherwise reach
// whatever the old selection left on the bus.
TEST_F(I2cPathSelect, AControlByteNotTakenOrNotHeldFailsTheSelection) {
  Bus bus;
  I2CPath p("fctl", MAIN, 1, NO_MUX, testBoard().i2c.muxesFor(MAIN));
  simctl({"i2c", "nack", "hostsw", "on"});
  std::string out = captured([&] { EXPECT_EQ(p.setMuxes(0, bus.fd), FAILURE); });
  EXPECT_TRUE(contains(out, "I2C switch hostsw(0x71) did not take control byte 0x02 selecting the path to fctl\n"
                            "Remote I/O error (121)\n")) << out;
  EXPECT_TRUE(contains(captured([&] { EXPECT_EQ(p.setMuxes(1, bus.fd), FAILURE); }),
                       "failed to write device hostsw(0x71) bytesWritten= -1, numBytesToWrite= 1 buf[0]= 0x02"));  // verbose: the write's own line too
  simctl({"i2c", "nack", "hostsw", "off"});
  ASSERT_TRUE(bus.select(0x71, 0x03));  // off by channel 0 alone
  simctl({"i2c", "ignore-ctl", "hostsw", "on"});
  out = captured([&] { EXPECT_EQ(p.setMuxes(0, bus.fd), FAILURE); });
  EXPECT_TRUE(contains(out, "I2C switch hostsw(0x71) holds 0x03 after control byte 0x02 selecting the path to fctl\n"))
      << out;
  // Without plain transfers the byte goes out at the switch's own address; a refused address is a byte not taken.
  simctl({"set", "adapter", "smbus"});
  simctl({"kernel", "fail", "ioctl", "i2c-2", "EBUSY", "0x706"});
  out = runSim({"i2c", "-d", "fctl", "-o", "0x90", "-r", "2"}).out;
  EXPECT_TRUE(contains(out, "did not take control byte 0x02 selecting the path to fctl\nDevice or resource busy (16)\n")) << out;
}

// A path reaches the bus only through the chips the registry handed it, and
// which of a level's two chips it needs follows the revision of the moment.
TEST_F(I2cPathSelect, AChipThePathWasNotHandedIsNotFound) {
  const I2cPathMuxes board = testBoard().i2c.muxesFor(MAIN);
  const struct { int rev; E_HOST host; I2cPathMuxes muxes; const char* missing; const char* writes; } cases[] = {
      {3, MAIN, {}, "hostsw", ""},
      {2, MAIN, {}, "hostmux", ""},
      {3, SIGNAL, {}, "shostsw", ""},
      {2, MAIN, {.host = {.sw = board.host.sw}}, "hostmux", ""},
      {4, MAIN, {.host = board.host}, "fpsw", "0x71 write 08 "},
      {2, MAIN, {.host = board.host, .local = {.sw = board.local.sw}}, "fpmux", "0x74 write 07 "},
  };
  for (const auto& c : cases) {
    rev(c.rev);
    Trace t;
    I2CPath p("fpfpga", c.host, 3, 1, c.muxes);
    Bus bus;
    std::string out = captured([&] { EXPECT_EQ(p.setMuxes(1, bus.fd), ENTRY_NOT_FOUND); });
    EXPECT_TRUE(contains(out, std::string("function selectLevel - I2C device ") + c.missing + " not found\n"))
        << c.missing << ": " << out;
    EXPECT_EQ(busWrites(t), c.writes) << c.missing;
  }
}
