// One device's transfers: SMBus by byte count, plain transfers with their
// dump, and the failures of opening and addressing.
#include <gtest/gtest.h>

#include <algorithm>
#include <span>

#include "i2cDevUtil.h"
#include "cmdRun.h"
#include "i2cTestUtil.h"
#include "textUtil.h"

// Opens the device through the accessor as d, or ends the test.
#define OPEN_DEV(name)              \
  I2cDevUtil u(testBoard().i2c, name, false); \
  ASSERT_EQ(u.stat(), SUCCESS);     \
  I2cDev& d = *u.getItr()->second

namespace {
using I2cDevOps = I2cTest;

std::string plainRead(const char* name, unsigned long n, bool noASCII = false, bool noNewLines = false) {
  I2cDevUtil u(testBoard().i2c, name, false);
  EXPECT_EQ(u.stat(), SUCCESS);
  I2cDev& d = *u.getItr()->second;
  char offset[2] = {0, 0};
  int count = 0;
  EXPECT_EQ(d.wrBytes(offset, 2, &count, 0), SUCCESS);
  std::vector<char> buf(n);
  std::string out = captured([&] { EXPECT_EQ(d.rdBytes(buf.data(), n, &count, 0, noASCII, noNewLines), SUCCESS); });
  EXPECT_EQ(count, static_cast<int>(n));
  return out;
}
}  // namespace

TEST_F(I2cDevOps, SmbusWritesGoOutByDataCount) {
  OPEN_DEV("fpfpga");
  Trace t;
  int n = -1;
  const char send[1] = {0x30}, byte[2] = {0x10, 0x11}, word[3] = {0x05, 0x34, 0x12};  // word: 0x1234 to register 5
  for (auto [buf, len] : {std::pair<std::span<const char>, int>{send, 0}, {byte, 1}, {word, 2}}) {
    EXPECT_EQ(d.wrBytes(buf, len, &n, 0), SUCCESS);
    EXPECT_EQ(n, len);
  }
  for (const char* sent : {"byte cmd 0x30", "byte_data cmd 0x10 data 11", "word_data cmd 0x05 data 1234"})
    EXPECT_EQ(t.grep(std::string("i2c-2 0x40 smbus write ") + sent).size(), 1u) << sent;
  EXPECT_EQ(simctl({"i2c", "peek", "fpfpga", "6"}), "0x12\n");

  // Three or more: a block whose data start at the command byte; never reported as written.
  char block[4] = {0x05, 0x34, 0x12, 0x56};
  std::string out = captured([&] { EXPECT_EQ(d.wrBytes(block, 3, &n, 0), FAILURE); });
  EXPECT_EQ(n, 0);
  EXPECT_EQ(t.grep("i2c-2 0x40 smbus write block_data cmd 0x05 data 05 34 12").size(), 1u);
  EXPECT_TRUE(contains(out, "failed to write device fpfpga(0x40) bytesWritten= 0, numBytesToWrite= 3 buf[0]= 0x05, "
                       "buf[1]= 0x34, buf[2]= 0x12, buf[3]= 0x56\n"));
  EXPECT_EQ(simctl({"i2c", "peek", "fpfpga", "6"}), "0x5\n");  // count at 5, then the data
  EXPECT_EQ(simctl({"i2c", "peek", "fpfpga", "9"}), "0x0\n");  // the last data byte never went out
}

TEST_F(I2cDevOps, SmbusReadsByByteCount) {
  OPEN_DEV("fpfpga");
  plantBlock();
  int n = 0;
  char buf[32] = {0x10};
  EXPECT_EQ(d.rdBytes(buf, 1, &n, 1, false, false), SUCCESS);
  EXPECT_TRUE(n == 1 && buf[0] == 0x11) << n;
  buf[0] = 0x22;
  EXPECT_EQ(d.rdBytes(buf, 2, &n, 1, false, false), SUCCESS);
  EXPECT_EQ(std::string(buf, 2), "bc");

  // Neither a byte nor a word that failed is a value.
  simctl({"i2c", "nack", "fpfpga", "on"});
  for (unsigned long count : {1ul, 2ul}) {
    buf[0] = 0x10;
    EXPECT_TRUE(contains(captured([&] { EXPECT_EQ(d.rdBytes(buf, count, &n, 1, false, false), FAILURE); }),
                         "failed to read device fpfpga(0x40), byteCnt= 0\nRemote I/O error (121)\n"));  // even silent
    EXPECT_EQ(n, 0);
  }
}

// The instrument's controller has no block read whose count the chip sends:
// it is refused with one line before anything is sent. A full-featured
// adapter carries it, the chip's count setting the length.
TEST_F(I2cDevOps, ABlockReadNeedsAnAdapterThatCarriesIt) {
  plantBlock();
  int n = -1;
  char buf[32] = {0x20};
  {
    OPEN_DEV("fpfpga");
    Trace t;
    std::string out = captured([&] { EXPECT_EQ(d.rdBytes(buf, 3, &n, 0, false, false), FXN_NOT_SUPPORTED); });
    EXPECT_TRUE(contains(out, "cannot carry an SMBus block read (its driver")) << out;  // whole in docs/i2c.md
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 1);
    EXPECT_EQ(n, 0);
    EXPECT_TRUE(t.grep("smbus").empty());
  }
  simctl({"set", "adapter", "full"});
  Bus bus;  // the front-panel FPGA's path, selected by hand for a device of its own
  ASSERT_TRUE(bus.select(0x71, 0x08) && bus.select(0x72, 0x02));
  I2cDev f({.name = "fpfpga", .adapter = 2, .address = 0x40, .smbus = true});
  ASSERT_EQ(f.setUp(), SUCCESS);
  EXPECT_EQ(captured([&] { EXPECT_EQ(f.rdBytes(buf, 3, &n, 0, false, false), SUCCESS); }),
            "616263" + std::string(26, ' ') + " abc\n");
  EXPECT_EQ(n, 3);
  EXPECT_EQ(f.wrBytes({}, 256, &n, 1), BAD_PARAMETER);  // a block of 256 still takes its command byte
  buf[0] = 0x00;  // register 0 holds a count of 0
  EXPECT_TRUE(contains(captured([&] { EXPECT_EQ(f.rdBytes(buf, 3, &n, 0, false, false), FAILURE); }),
                       "byteCnt= 0\nProtocol error (71)\n"));
  f.tearDown();
  simctl({"set", "adapter", "smbus"});  // a plain read where only SMBus is carried: nothing read
  I2cDev m({.name = "mhEeprom", .adapter = 2, .address = 0x56});
  ASSERT_EQ(m.setUp(), SUCCESS);
  n = -1;
  EXPECT_EQ(m.rdBytes(buf, 4, &n, 1), FXN_NOT_SUPPORTED);
  EXPECT_EQ(n, 0);
  m.tearDown();
}

TEST_F(I2cDevOps, PlainReadsDumpSixteenBytesALineWithATextColumn) {
  // The main host EEPROM's label: "Z9 0980 main host" padded with NULs. The last line is not padded, and its
  // text column keeps the first line's tail.
  EXPECT_EQ(plainRead("mhEeprom", 20), "5a392030393830206d61696e20686f73 Z9 0980 main hos\n"
                                       "74000000 t...980 main hos\n");
  EXPECT_EQ(plainRead("mhEeprom", 5), "5a39203039" + std::string(22, ' ') + " Z9 09\n");
  EXPECT_EQ(plainRead("mhEeprom", 5, true), "5a39203039\n");
  EXPECT_EQ(plainRead("mhEeprom", 16, false, true), "5a392030393830206d61696e20686f73 Z9 0980 main hos\n");
}

namespace {
// What a failed write of n bytes from buf prints, on a device that is set up.
std::string writeFailure(I2cDev& d, std::span<const char> buf, unsigned long n) {
  int written = 0;
  return captured([&] { EXPECT_EQ(d.wrBytes(buf, n, &written, 0), FAILURE); });
}
}  // namespace

// The message shows the caller's first four buffer bytes whatever the count
// sent, 0 only where the buffer has ended.
TEST_F(I2cDevOps, WriteFailureShowsTheFirstFourBufferBytes) {
  simctls({{"i2c", "nack", "mh-eeprom", "on"}, {"i2c", "nack", "fpfpga", "on"}});
  {
    OPEN_DEV("mhEeprom");
    const char offset[2] = {0x00, 0x10}, page[6] = {0x00, 0x10, 0x41, 0x42, 0x43, 0x44};
    EXPECT_TRUE(contains(writeFailure(d, offset, 2),
                         "failed to write device mhEeprom(0x56) bytesWritten= -1, numBytesToWrite= 2 buf[0]= 0x00, "
                         "buf[1]= 0x10, buf[2]= 0x00, buf[3]= 0x00\nRemote I/O error (121)\n"));
    EXPECT_TRUE(contains(writeFailure(d, page, 2), "buf[0]= 0x00, buf[1]= 0x10, buf[2]= 0x41, buf[3]= 0x42\n"));
    int n = 0;
    EXPECT_EQ(captured([&] { EXPECT_EQ(d.wrBytes(offset, 2, &n, 1), FAILURE); }), "");
  }
  OPEN_DEV("fpfpga");
  const char datum[4] = {0x19, 0x34, 0x12, 0x00}, byte[2] = {0x30, 0x31};
  EXPECT_TRUE(contains(writeFailure(d, datum, 1),
                       "failed to write device fpfpga(0x40) bytesWritten= 0, numBytesToWrite= 1 buf[0]= 0x19, "
                       "buf[1]= 0x34, buf[2]= 0x12, buf[3]= 0x00\n"));
  EXPECT_TRUE(contains(writeFailure(d, byte, 1), "buf[0]= 0x30, buf[1]= 0x31, buf[2]= 0x00, buf[3]= 0x00\n"));
  EXPECT_TRUE(contains(writeFailure(d, datum, 2), "bytesWritten= 0, numBytesToWrite= 2 buf[0]= 0x19"));
}

// A transfer longer than the buffer it is to come from is refused before the bus.
TEST_F(I2cDevOps, WriteThatDoesNotFitItsBufferIsRefused) {
  OPEN_DEV("fpfpga");
  Trace t;
  int n = -1;
  const char two[2] = {0x05, 0x34};
  EXPECT_TRUE(contains(captured([&] { EXPECT_EQ(d.wrBytes(two, 2, &n, 1), BAD_PARAMETER); }),
                       "a write of 2 bytes to device fpfpga(0x40) does not fit the buffer of 2 bytes\n"));
  EXPECT_EQ(n, 0);
  EXPECT_EQ(d.wrBytes(two, 1, &n, 1), SUCCESS);  // the register byte and one data byte
  d.setBus(false);  // a plain transfer takes the count itself
  EXPECT_TRUE(contains(captured([&] { EXPECT_EQ(d.wrBytes(two, 3, &n, 1), BAD_PARAMETER); }),
                       "a write of 3 bytes to device fpfpga(0x40) does not fit the buffer of 2 bytes\n"));
  d.setBus(true);
  EXPECT_EQ(t.grep("i2c-2 0x40").size(), 1u);
}

TEST_F(I2cDevOps, MissingAdapterFailsToOpenAndTearDownStillClosesAndCounts) {
  I2cDev d({.name = "ghost", .adapter = 7, .address = 0x50});
  Trace t;
  EXPECT_TRUE(contains(captured([&] { EXPECT_EQ(d.setUp(), FAILURE); }),
                       "function openAdapter - failed to open I2C adapter /dev/i2c-7 openCount= 0, closeCount= 0\n"
                       "No such file or directory (2)\n"));
  EXPECT_LT(d.adapterFD.value_or(0), 0);
  EXPECT_EQ(d.tearDown(), SUCCESS);
  EXPECT_TRUE(d.closeCount == 1 && !d.adapterFD);
  EXPECT_EQ(t.grep("close fd -1 -> EBADF").size(), 1u);
  EXPECT_TRUE(d.tearDown() == SUCCESS && d.closeCount == 1);  // closed now: nothing more to close
}

TEST_F(I2cDevOps, RefusedAddressClosesTheAdapterAndTearDownClosesAgain) {
  I2cDev d({.name = "wide", .adapter = 2, .address = 0x80, .smbus = true});
  EXPECT_TRUE(contains(captured([&] { EXPECT_EQ(d.setUp(), FAILURE); }),
                       "failed to set device wide address 0x80\nInvalid argument (22)\n"));
  EXPECT_TRUE(d.openCount == 1 && d.closeCount == 1);
  EXPECT_TRUE(d.adapterFD);  // the closed descriptor stays stored
  d.tearDown();
  EXPECT_EQ(d.closeCount, 2);
}

// Descriptor 0 is what an open gets when standard input is closed: it is an
// open adapter like any other, and a device that tearDown has closed reaches
// no descriptor at all.
TEST_F(I2cDevOps, DescriptorZeroIsAnOpenAdapter) {
  I2cDev d({.name = "zero", .adapter = 2, .address = 0x40, .smbus = true});
  d.adapterFD = 0;  // as the open handed it out
  Trace t;
  EXPECT_TRUE(d.tearDown() == SUCCESS && d.closeCount == 1 && !d.adapterFD);
  EXPECT_EQ(t.grep("close fd 0 ").size(), 1u);
  const char byte[2] = {0x10, 0x11};
  int n = 0;
  EXPECT_TRUE(contains(captured([&] { EXPECT_EQ(d.wrBytes(byte, 1, &n, 0), FAILURE); }),
                       "for device zero(0x40)\nBad file descriptor (9)\n"));
  EXPECT_TRUE(d.tearDown() == SUCCESS && d.closeCount == 1);
  EXPECT_TRUE(t.grep("smbus").empty());
}
