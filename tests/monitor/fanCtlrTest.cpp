#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "cmdRun.h"
#include "fanCtlr.h"
#include "i2cDevUtil.h"
#include "programs.h"
#include "semIsolation.h"
#include "testEnv.h"
#include "textUtil.h"

namespace {
// The fan controller's own transfers (the path selection goes to the switches).
std::vector<std::string> fctlTraffic(const Trace& t) { return t.grep("i2c-2 0x52 "); }

// Runs a fan command line that must end with status and print text.
void expectRun(const char* line, E_STATUS status, const std::string& text) {
  CmdResult r = runCmd(line);
  EXPECT_EQ(r.status, status) << line;
  EXPECT_TRUE(contains(r.out, text)) << line << "\n" << r.out;
}

using FanCtlrTest = FreshSim;
}  // namespace

// Each register once, with the value read: of a page-0 register the table
// enters twice, the copy the page map reaches.
TEST_F(FanCtlrTest, DumpReadsEveryPageAndCommandOnceAndShowsEachOnce) {
  ASSERT_EQ(runCmd("fan -p 0 -w 2 -o 0x3b -d 0x1235").status, SUCCESS);  // every bit of a value shown
  Trace t;
  CmdResult r = runCmd("fan -r");
  EXPECT_EQ(r.status, SUCCESS);
  std::vector<std::string> out = splitLines(r.out);
  ASSERT_EQ(out.size(), 87u);
  EXPECT_EQ(out[0], "FANCTLR_FAN_CONFIG_1_2 (00:0x3a)..................0x00d0");
  EXPECT_TRUE(contains(r.out, "\nFANCTLR_MFR_FAN_FAULT_LIMIT (01:0xf5).............0x0168\n"));
  EXPECT_TRUE(contains(r.out, "FANCTLR_MFR_FAN_FAULT_LIMIT (00:0xf5).............0x0168\n"));
  EXPECT_TRUE(contains(r.out, "\nFANCTLR_FAN_COMMAND_1 (00:0x3b)...................0x1235\n"));
  for (size_t k = 65; k <= 71; ++k) EXPECT_EQ(out[k].substr(out[k].find('(') + 1, 3), "00:") << k;  // the later copies
  EXPECT_EQ(out[86], "FANCTLR_MFR_VOUT_MIN (20:0xd7)....................0x2ee0");
  std::map<std::string, std::string> codeOf;  // a name stands for one command, a page's command has one name
  std::set<std::string> shown;
  for (const std::string& l : out) {
    const std::string at = l.substr(l.find('(') + 1, 7);  // page:command
    EXPECT_EQ(codeOf.emplace(l.substr(0, l.find(' ')), at.substr(3)).first->second, at.substr(3)) << l;
    EXPECT_TRUE(shown.insert(at).second) << l;
  }
  std::vector<std::string> bus = fctlTraffic(t);
  ASSERT_EQ(bus.size(), 2u * 93u);  // a page select before each of the 93 commands
  std::set<std::string> pageCmds;
  for (size_t i = 0; i + 1 < bus.size(); i += 2)  // the page written, then the command read
    pageCmds.insert(bus[i].substr(bus[i].size() - 2) + bus[i + 1].substr(bus[i + 1].find("cmd ") + 4, 4));
  EXPECT_EQ(pageCmds.size(), 93u);
  std::map<std::string, int> perPage;  // page 0 has 23, each other fan page 11, the sensor's 6, the monitor's (0x14) 9
  for (const std::string& pc : pageCmds) ++perPage[pc.substr(0, 2)];
  EXPECT_EQ(perPage, (std::map<std::string, int>{{"00", 23}, {"01", 11}, {"02", 11}, {"03", 11}, {"04", 11},
                                                 {"05", 11}, {"06", 6}, {"14", 9}}));
  // Each command read in its width: 65 of them are 16-bit words, the other 28 bytes.
  EXPECT_EQ(std::ranges::count_if(bus, [](const std::string& l) { return contains(l, "read word_data"); }), 65);
  EXPECT_EQ(bus[0], "i2c-2 0x52 smbus write byte_data cmd 0x00 data 00");
  EXPECT_EQ(bus[1], "i2c-2 0x52 smbus read byte_data cmd 0x00 -> 00");
  EXPECT_EQ(bus.back(), "i2c-2 0x52 smbus read word_data cmd 0xd7 -> 2ee0");
}

TEST_F(FanCtlrTest, SpeedWritesGoToThePageGiven) {
  struct Case { const char* line; const char* page; const char* word; } cases[] = {
      {"fan -ss 100 -p 2", "02", "17c0"}, {"fan -ss 50", "00", "0be0"}, {"fan -p 5 -ss 0", "05", "0000"},
      {"fan -ss 33 -p 0x1", "01", "07d6"}};
  for (const Case& c : cases) {
    Trace t;
    EXPECT_EQ(runCmd(c.line).status, SUCCESS) << c.line;
    std::string page = "i2c-2 0x52 smbus write byte_data cmd 0x00 data ", word = "i2c-2 0x52 smbus write word_data ";
    EXPECT_EQ(fctlTraffic(t), (std::vector<std::string>{page + c.page, word + "cmd 0x3b data " + c.word})) << c.line;
  }
}

TEST_F(FanCtlrTest, RawWritesReadsAndTheirOrder) {
  Trace t;
  EXPECT_EQ(runCmd("fan -w 0 -o 3").status, SUCCESS);
  EXPECT_EQ(fctlTraffic(t), (std::vector<std::string>{"i2c-2 0x52 smbus write byte_data cmd 0x00 data 00",
                                                      "i2c-2 0x52 smbus write byte cmd 0x03"}));

  // -w then -rr, whatever their order on the line; the read uses the table's width.
  t.mark();
  CmdResult r = runCmd("fan -rr -o 0xf6 -d 0x1234 -w 2 -p 4");
  EXPECT_EQ(r.status, SUCCESS);
  EXPECT_EQ(r.out, "0x1234\n");
  std::vector<std::string> bus = fctlTraffic(t);
  ASSERT_EQ(bus.size(), 4u);
  EXPECT_EQ(bus[1], "i2c-2 0x52 smbus write word_data cmd 0xf6 data 1234");
  EXPECT_EQ(bus[3], "i2c-2 0x52 smbus read word_data cmd 0xf6 -> 1234");

  EXPECT_EQ(runCmd("fan -rr -p 1 -o 0x90").out, "0x0be0\n");

  // A page and command the controller does not have never reach the bus.
  t.mark();
  CmdResult r7 = runCmd("fan -rr -p 7 -o 0x90");
  EXPECT_EQ(r7.status, ENTRY_NOT_FOUND);
  EXPECT_TRUE(contains(r7.out, "page 7, command 0x90 is not in the fan controller's register table\n")) << r7.out;
  EXPECT_FALSE(contains(r7.out, "0x0000"));  // and no value that was never read
  EXPECT_TRUE(t.grep("i2c-2").empty());

  // More data bytes than a command takes are refused, not read past the buffer.
  expectRun("fan -w 40 -o 0x3b", BAD_PARAMETER, "fan -w: 40 is out of range, 0 to 2");
}

TEST_F(FanCtlrTest, HelpComesAloneAndFailuresAreReported) {
  Trace t;
  EXPECT_EQ(splitLines(runCmd("fan -h -r").out).size(), 9u);
  EXPECT_TRUE(t.grep("i2c-2").empty());

  // A controller that goes away after fan 3: the later fans are not read, and say so.
  simctl({"i2c", "vanish", "fctl", "6"});
  CmdResult r = runCmd("fan -ds");
  std::vector<std::string> speeds;
  for (const std::string& l : splitLines(r.out))
    if (l.find(" rpm") != std::string::npos || l.find("speed not read") != std::string::npos) speeds.push_back(l);
  EXPECT_EQ(speeds, (std::vector<std::string>{"3040(0x0be0) rpm", "3040(0x0be0) rpm", "3040(0x0be0) rpm",
                                              "fan 4 speed not read", "fan 5 speed not read", "fan 6 speed not read"}))
      << r.out;
  EXPECT_EQ(r.status, FAILURE);

  simctl({"i2c", "clear"});

  // CAPABILITY is read-only: the chip refuses the write, whose message shows
  // the command and the whole datum.
  expectRun("fan -w 1 -o 0x19 -d 0x1234", FAILURE,
            "numBytesToWrite= 1 buf[0]= 0x19, buf[1]= 0x34, buf[2]= 0x12, buf[3]= 0x00\n");

  simctl({"i2c", "nack", "fctl", "on"});
  // The refused page select is told once, by the write and its errno, not again as a short count.
  r = runCmd("fan -rr -o 0x90");
  EXPECT_TRUE(r.status == FAILURE && contains(r.out, "failed to write device fctl(0x52)") && countOf(r.out, "\n") == 4u)
      << r.out;
}

// A walk ends where the controller stops answering: what was read is shown,
// the rest as not read; a controller that answers nothing gives no dump.
TEST_F(FanCtlrTest, DumpShowsWhatWasNotReadAsNotRead) {
  simctl({"i2c", "vanish", "fctl", "10"});  // five paged reads: page 0's first five commands
  Trace t;
  CmdResult r = runCmd("fan -r");
  EXPECT_EQ(r.status, FAILURE);
  EXPECT_EQ(fctlTraffic(t).size(), 11u);  // the walk stopped at the failed page select
  std::vector<std::string> lines;
  std::ranges::copy_if(splitLines(r.out), std::back_inserter(lines), [](auto& l) { return l.starts_with("FANCTLR_"); });
  ASSERT_EQ(lines.size(), 87u) << r.out;
  EXPECT_EQ(lines[0], "FANCTLR_FAN_CONFIG_1_2 (00:0x3a)..................0x00d0");
  EXPECT_EQ(lines[1], "FANCTLR_FAN_CONFIG_1_2 (01:0x3a)..................not read");
  EXPECT_EQ(countOf(r.out, "not read\n"), 87u - 4u);
  simctls({{"i2c", "clear"}, {"i2c", "absent", "fctl", "on"}});
  r = runCmd("fan -r");
  EXPECT_EQ(r.status, FAILURE);
  EXPECT_FALSE(contains(r.out, "FANCTLR_")) << r.out;
  simctl({"set", "board", "signal"});  // no fan controller in its registry: a write names where it was asked for
  EXPECT_TRUE(contains(runSim({"fan", "-w", "2", "-o", "0x3b", "-d", "1"}).out, "function wrFanCtlrReg - I2C device fctl not found\n"));
}

TEST_F(FanCtlrTest, ReadBackCatchesAStuckBit) {
  simctl({"i2c", "stuck", "fctl", "0xf6", "3", "0"});
  I2cDevUtil util(testBoard().i2c, "fctl", false);
  ASSERT_EQ(util.stat(), SUCCESS);
  FanCtlr fc(testBoard().i2c);
  unsigned short v = 0x00FF;
  EXPECT_EQ(captured([&] { EXPECT_EQ(fc.regWrWithRdBack(util.getItr(), 0, 0xF6, 2, &v), FAILURE); }),
            "I2C readback failed - reg= 0xf6, written= 0x00ff, read= 0x00f7\n");
  v = 0x00F0;
  EXPECT_EQ(fc.regWrWithRdBack(util.getItr(), 0, 0xF6, 2, &v), SUCCESS);

  // A datum wider than a command takes is refused before the page is selected.
  Trace t;
  EXPECT_TRUE(contains(captured([&] { EXPECT_EQ(fc.regWrWithRdBack(util.getItr(), 0, 0xF6, 3, &v), BAD_PARAMETER); }),
                       "a fan controller command takes at most 2 data bytes, not 3\n"));
  EXPECT_TRUE(fctlTraffic(t).empty());
}

// During a whole dump another process waits one register's access at most:
// the dump gives the semaphore back after each register.
TEST_F(FanCtlrTest, ADumpGivesTheSemaphoreBackBetweenRegisters) {
  Trace t;
  Child dump = spawn(programArgv(diagSimBin(), {"fan", "-r"}));
  int samplesFree = 0, status = 0;
  while (waitpid(dump.pid, &status, WNOHANG) != dump.pid) {
    bool free = semValue("diagSem") == 1;
    size_t transfers = fctlTraffic(t).size();
    if (free && transfers > 0 && transfers < 2u * 93u) ++samplesFree;  // between its first and last register
    usleep(200);
  }
  close(dump.out);
  EXPECT_EQ(fctlTraffic(t).size(), 2u * 93u);
  EXPECT_GT(samplesFree, 0) << "the dump held diagSem from its first register to its last";
}
