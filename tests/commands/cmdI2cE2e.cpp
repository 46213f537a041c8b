// The i2c command in the built diag-sim, as an operator runs it.
#include <gtest/gtest.h>

#include "i2cDevMap.h"
#include "cmdRun.h"
#include "i2cTestUtil.h"
#include "programs.h"
#include "textUtil.h"

namespace {
class I2cCommand : public I2cTest {
protected:
  std::string run(std::vector<std::string> args) {
    args.insert(args.begin(), "i2c");
    return simOut(args);
  }
};
}  // namespace

TEST_F(I2cCommand, ListsEveryDeviceOfTheBoardWithItsDescription) {
  std::string out = run({"-l"});
  I2cDevMap fresh(testBoard().i2cSem);
  for (const auto& [name, dev] : fresh.devices()) EXPECT_TRUE(contains(out, "\n" + name + " ")) << name;
  EXPECT_TRUE(holdsAll(out, {"smcEeprom    0x54 plain Main Host 1 3 0 1000 SRC/Meas Connector EEPROM 24LC32A\n",
                             "fctl         0x52 smbus Main Host 1 1   0995 Fan Controller MAX31785\n"}));
  // The signal host's list is in docs/i2c.md.
  // The main reference's and the front panel's one chip answer where their tables say.
  for (auto [board, chip] : {std::pair{"mref", "mrefEeprom"}, {"fp", "fpEeprom"}}) {
    simctl({"set", "board", board});
    EXPECT_TRUE(contains(run({"-d", chip, "-o", "0", "-r", "2"}), "5a39 ")) << board;
  }
  EXPECT_TRUE(contains(run({"-l"}), "fpEeprom     0x53 plain Front Panel 1"));
  EXPECT_TRUE(contains(run({"-d", "fpEeprom", "-r", "2"}), "2030 "));  // a plain read goes on where the last ended
}

TEST_F(I2cCommand, WritesAndReadsARegisterBehindTwoLevelsOfSwitches) {
  Trace t;
  run({"-d", "fpfpga", "-o", "0x11", "-w", "0x05"});
  EXPECT_EQ(t.grep("i2c-2 rdwr 0x71 write 08 ; 0x71 read 1 -> 08").size(), 1u);
  EXPECT_EQ(t.grep("i2c-2 rdwr 0x72 write 02 ; 0x72 read 1 -> 02").size(), 1u);
  EXPECT_EQ(t.grep("i2c-2 0x40 smbus write byte_data cmd 0x11 data 05").size(), 1u);
  EXPECT_FALSE(sourcesOkay());  // the front panel's okay output needs the low nibble of 0x11
  simctl({"i2c", "poke", "hostsw", "0", "0"});  // the next access must select the path again
  EXPECT_EQ(run({"-d", "fpfpga", "-o", "17", "-r", "1"}), "0x05\n");
  EXPECT_EQ(t.grep("i2c-2 0x40 smbus read byte_data cmd 0x11 -> 05").size(), 1u);
  EXPECT_EQ(run({"-d", "fctl", "-o", "0x3b", "-r", "2"}), "0x0be0\n");
  simctl({"i2c", "nack", "fpfpga", "on"});  // a write the chip refuses is told
  EXPECT_TRUE(contains(run({"-d", "fpfpga", "-o", "0x11", "-w", "0x06"}),
                       "wrBytes - failed to write device fpfpga(0x40) bytesWritten= 0, numBytesToWrite= 1 buf[0]= 0x11, buf[1]= 0x06"));
  // The memory refuses now: its refused write is not waited for as if stored.
  simctls({{"i2c", "nack", "fpfpga", "off"}, {"i2c", "nack", "mh-eeprom", "on"}});
  t.mark();
  EXPECT_TRUE(contains(run({"-d", "mhEeprom", "-o", "0x100", "-w", "0x41"}), "failed to write device mhEeprom(0x56)"));
  EXPECT_EQ(t.grep(" 0x56 ").size(), 1u);
  simctl({"i2c", "nack", "mh-eeprom", "off"});
  // On an adapter that carries SMBus only, each control byte is a send byte read back as a receive byte, and a
  // memory that needs plain transfers is refused before anything is sent to it.
  simctl({"set", "adapter", "smbus"});
  t.mark();
  EXPECT_EQ(run({"-d", "fpfpga", "-o", "0x11", "-r", "1"}), "0x05\n");
  EXPECT_EQ(t.grep("i2c-2 0x71 smbus ").size(), 2u);
  EXPECT_EQ(t.grep("i2c-2 0x71 smbus read byte -> 08").size(), 1u);
  EXPECT_EQ(t.grep("i2c-2 0x72 smbus read byte -> 02").size(), 1u);
  EXPECT_TRUE(contains(run({"-d", "mhEeprom", "-o", "0", "-r", "4"}), "cannot carry plain I2C transfers"));
  EXPECT_TRUE(t.grep("i2c-2 0x56 ").empty());
}

TEST_F(I2cCommand, DumpsAnEepromAndWritesItsMemory) {
  Trace t;
  run({"-d", "mhEeprom", "-o", "0x101", "-w", "0x41", "0x25", "0x73", "0x7e", "0x7f", "0x20"});
  EXPECT_FALSE(t.grep("0x56 write 01 07").empty());  // the looks for the write cycle's end point past the data
  std::string out = run({"-d", "mhEeprom", "-o", "0x101", "-r", "6"});
  EXPECT_TRUE(contains(out, "4125737e7f20" + std::string(20, ' ') + " A%s~. \n")) << out;  // user data printed as it is
  t.mark();
  EXPECT_EQ(run({"-d", "mhEeprom", "-o", "0", "-dump"}).rfind("5a392030393830206d61696e20686f73 Z9 0980 main", 0), 0u);
  EXPECT_EQ(t.grep("i2c-2 0x56 read 256 -> 5a 39").size(), 1u);
  // A register chip's dump runs from the offset to its last register, 0xff.
  const std::string text = " " + std::string(16, '.') + "\n";  // a short last line shows the text column whole
  EXPECT_EQ(simOut({"--exit-status", "i2c", "-d", "fpfpga", "-o", "0xe8", "-dump"}), std::string(32, '0') + text + std::string(16, '0') + text);
}

// What each refusal says is shown in docs/i2c.md, which runs; none reaches a device.
TEST_F(I2cCommand, RefusesBadInputBeforeTouchingTheBus) {
  Trace t;
  for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
           {"-d", "nosuch", "-r", "1"}, {"-d", "fctl", "-o", "0x3b", "-w", "1", "2", "3"}, {"-d", "fctl", "-o", "3", "-r", "33"},
           {"-d", "fctl", "-r", "1"}, {"-d", "mhEeprom", "-r", "300"}, {"-x"}, {"-r", "1"}, {"-d", "mhEeprom"},
           {"-d", "mhEeprom", "-w"}, {"-h", "-d", "fctl"}})
    EXPECT_FALSE(run(args).empty()) << args[0] << " " << args.back();
  // Building the registry probes for the main-reference sensor; no device is reached.
  EXPECT_TRUE(t.grep("smbus").empty() && t.grep("0x56").empty());
}

// The last value of each limit is taken and the next one refused (in the shell's own process).
TEST_F(I2cCommand, EachLimitTakesItsLastValue) {
  simctls({{"set", "adapter", "full"}, {"i2c", "poke", "fpfpga", "0x20", "32"}});  // a block of 32 bytes starts there
  struct Case { const char* line; E_STATUS status; const char* out; } cases[] = {
      {"i2c -d fpfpga -o 0xff -r 1", SUCCESS, "0x"},
      {"i2c -d fpfpga -o 0x100 -r 1", BAD_PARAMETER, "i2c -o: 256 is out of range, 0 to 255"},
      {"i2c -d fpfpga -o 0x20 -r 32", SUCCESS, "00000000000000000000000000000000 ................\n"},
      {"i2c -d fpfpga -o 0x20 -r 33", BAD_PARAMETER, "too many bytes to read, 33, at most 32"},
      {"i2c -d fpfpga -o 0x11 -w 1 2", SUCCESS, ""},
      {"i2c -d mhEeprom -o 0xffff -r 1", SUCCESS, ""}};
  for (const Case& c : cases) {
    CmdResult r = runCmd(c.line);
    EXPECT_EQ(r.status, c.status) << c.line << "\n" << r.out;
    EXPECT_TRUE(contains(r.out, c.out)) << c.line << "\n" << r.out;
  }
}
