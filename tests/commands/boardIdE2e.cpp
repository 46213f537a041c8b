// Board identities in the built diag-sim: rev, eeprom, xml and cfg as an
// operator runs them, against the simulator's own identity images.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include "cmdRun.h"
#include "i2cTestUtil.h"
#include "i2cTopology.h"
#include "programs.h"
#include "simState.h"
#include "textUtil.h"

namespace {
class BoardId : public I2cTest {
protected:
  // One-shot run with the command's own status as the exit status.
  RunResult run(std::vector<std::string> args) {
    args.insert(args.begin(), "--exit-status");
    return runSim(args);
  }
  // The part's bytes as the simulator holds them, read beside the bus.
  std::vector<uint8_t> memOf(const char* chip) {
    sim::SimLock lk;
    const uint8_t* m = lk.state().i2c.eeprom[sim::chipInfo(sim::chipByName(chip)).slot].mem;
    return {m, m + sim::EEPROM_BYTES};
  }
};

const char* const DOC =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<board type=\"0970\">\n  <name>back plane</name>\n"
    "  <part>Z9-0970-04</part>\n  <serial>0970-25-000777</serial>\n  <revision>4</revision>\n"
    "  <made>2025-02-28</made>\n  <option name=\"fans\" value=\"6\"/>\n</board>\n";
}  // namespace

TEST_F(BoardId, RevShowsEveryBoardEepromOfTheHostWithItsIdentity) {
  RunResult r = run({"rev"});
  EXPECT_EQ(r.exitCode, 0) << r.out;
  // The host, the FPGA and a whole row are in docs/board-identity.md, which runs; here each memory has its row.
  EXPECT_TRUE(holdsAll(r.out, {"  mhEeprom", "  commEeprom", "  fcEeprom", "  mrEeprom", "  bpEeprom", "  smcEeprom",
                               "  fpioEeprom", "  fprlyEeprom"}));
  // A part that does not answer and one with no identity keep their rows.
  simctls({{"i2c", "absent", "fcEeprom", "on"}, {"i2c", "identity", "mrEeprom", "blank"}});
  r = run({"rev"});
  EXPECT_NE(r.exitCode, 0);
  EXPECT_TRUE(holdsAll(r.out, {"  fcEeprom     does not answer\n", "  mrEeprom     no identity programmed (blank)\n",
                               "  bpEeprom     type 0970"}));
  simctl({"set", "board", "signal"});
  r = run({"rev"});
  EXPECT_TRUE(contains(r.out, "mc2Eeprom    type 0985, name measurement channel 2")) << r.out;
  // A damaged board revision file, or a number beyond three digits: the revision is assumed; 0 is a revision,
  // and a file of that one character without its line end is whole.
  for (auto [text, says] : {std::pair{"x\n", "3 (assumed: no number in"}, {"1000\n", "3 (assumed"}, {"0", "0 (from"}}) {
    simctls({{"set", "rev-text", text}, {"revision", "none"}, {"kernel", "fail", "ioctl", "fpga", "EIO"}});
    r = run({"rev"});
    EXPECT_TRUE(holdsAll(r.out, {std::string("board revision   ") + says, "FPGA             not read\n"})) << text;
  }
  EXPECT_TRUE(contains(r.out, "diagnostics      no /vesta/diags/revision.txt\n")) << r.out;
}

TEST_F(BoardId, EachDamageHasItsOwnLineAndFails) {
  RunResult good = run({"eeprom", "-id", "commEeprom"});
  EXPECT_EQ(good.exitCode, 0) << good.out;
  EXPECT_TRUE(contains(good.out, "label     Z9 0996 communications\ntype      0996\nname      communications\n"))
      << good.out;
  const struct { const char* damage; const char* line; } cases[] = {
      {"blank", "commEeprom: no identity programmed (blank)\n"},
      {"crc", "commEeprom: identity CRC mismatch: stored 0x"},
      {"stream", "commEeprom: identity stream does not inflate: zlib error -3 (invalid stored block lengths)\n"},
      {"version", "commEeprom: unknown identity layout version 7 (this program reads 1)\n"},
      {"long", "commEeprom: identity stream ends "},  // the longest stream is read whole, blank tail and all
      {"empty", "commEeprom: identity length 0 out of range (1 to 4024)\n"},  // and no stream read at all
  };
  for (const auto& c : cases) {
    simctls({{"i2c", "identity", "commEeprom", "reset"}, {"i2c", "identity", "commEeprom", c.damage}});
    RunResult r = run({"eeprom", "-id", "commEeprom"});
    EXPECT_NE(r.exitCode, 0) << c.damage;
    EXPECT_TRUE(contains(r.out, c.line)) << c.damage << ": " << r.out;
    EXPECT_EQ(std::count(r.out.begin(), r.out.end(), '\n'), 1) << r.out;
  }
}

TEST_F(BoardId, TestPassesLeavingEveryByteAndFailsOnAStuckBit) {
  std::vector<uint8_t> before = memOf("bp-eeprom");
  Trace t;
  RunResult r = run({"eeprom", "-t", "bpEeprom"});
  EXPECT_EQ(r.exitCode, 0) << r.out;
  EXPECT_TRUE(contains(r.out, "eeprom test bpEeprom PASSED\n")) << r.out;
  EXPECT_EQ(memOf("bp-eeprom"), before);
  // Every page write was waited out: the part refused its address at least once after each.
  EXPECT_GE(t.grep("i2c-2 0x50 write 0f e0 -> E").size(), 1u);
  std::string pages;  // each page written, by its first bytes: the four patterns, bytes that all differ, the page put back
  for (const std::string& l : t.grep("i2c-2 0x50 write 0f e0 ")) if (l.size() > 40) pages += l.substr(23, 6);
  EXPECT_EQ(pages, "55 55 aa aa 00 00 ff ff 01 08 ff ff ");
  simctl({"i2c", "stuck", "bpEeprom", "0xfe0", "3", "1"});  // the page's first byte (docs/board-identity.md: a later one)
  r = run({"eeprom", "-t", "bpEeprom"});
  EXPECT_NE(r.exitCode, 0);
  EXPECT_TRUE(holdsAll(r.out, {"bpEeprom byte 0xfe0: wrote 0x55, read back 0x5d\n", "eeprom test bpEeprom FAILED\n"}));
  std::vector<uint8_t> after = memOf("bp-eeprom");
  EXPECT_TRUE(std::equal(before.begin(), before.begin() + 0xFE0, after.begin()));  // nothing outside the test page
  // A part that stops answering after its first page write: the write cycle is waited out 20 times, then given up.
  simctl({"i2c", "vanish", "bpEeprom", "3"});
  t.mark();
  r = run({"eeprom", "-t", "bpEeprom"});
  EXPECT_TRUE(contains(r.out, "bpEeprom did not acknowledge within 20 ms of a page write\n")) << r.out;
  EXPECT_TRUE(contains(r.out, "eeprom test bpEeprom FAILED\n")) << r.out;
  EXPECT_EQ(t.grep("i2c-2 0x50 write 0f e0 -> E").size(), 20u);
}

TEST_F(BoardId, AnImageBuiltOfflineLoadsAndDecodes) {
  writeFile(testPath("id.xml"), DOC);
  RunResult r = run({"eeprom", "-mk", "-x", testPath("id.xml"), "-f", testPath("id.bin")});
  ASSERT_EQ(r.exitCode, 0) << r.out;
  EXPECT_EQ(std::filesystem::file_size(testPath("id.bin")), 4096u);
  simctl({"i2c", "nack", "bpEeprom", "on"});  // a page the part refuses is told, and the load stops there
  r = run({"eeprom", "-load", "bpEeprom", "-f", testPath("id.bin")});
  EXPECT_TRUE(contains(r.out, "failed to write device bpEeprom(0x50)") && contains(r.out, "stopped at 0x000")) << r.out;
  EXPECT_NE(r.exitCode, 0);
  simctl({"i2c", "nack", "bpEeprom", "off"});
  r = run({"eeprom", "-load", "bpEeprom", "-f", testPath("id.bin")});
  EXPECT_EQ(r.exitCode, 0) << r.out;
  r = run({"eeprom", "-id", "bpEeprom"});
  EXPECT_TRUE(contains(r.out, "serial    0970-25-000777\nrevision  4\nmade      2025-02-28\noption    fans = 6\n")) << r.out;
  EXPECT_EQ(run({"xml", "-d", "bpEeprom", "-x", "/board/option[@name='fans']/@value"}).out, "6\n");
  EXPECT_TRUE(contains(run({"xml", "-d", "fctl"}).out, "fctl is not a board EEPROM of this host, see eeprom -l\n"));
  r = run({"eeprom", "-id", "fctl"});  // refused in one line, and not read as a memory
  EXPECT_TRUE(r.exitCode != 0 && countOf(r.out, "\n") == 1 && contains(r.out, "fctl is not a board EEPROM")) << r.out;
  r = run({"eeprom", "-save", "bpEeprom", "-f", testPath("back.bin")});
  EXPECT_EQ(readFile(testPath("back.bin")), readFile(testPath("id.bin")));
  // A document without a required field builds nothing; a file of another size is not loaded.
  writeFile(testPath("bad.xml"), "<board type=\"0970\"><name>x</name><part>p</part><revision>1</revision></board>");
  r = run({"eeprom", "-mk", "-x", testPath("bad.xml"), "-f", testPath("bad.bin")});
  EXPECT_TRUE(contains(r.out, "identity field <serial> is missing or empty\n")) << r.out;
  EXPECT_FALSE(std::filesystem::exists(testPath("bad.bin")));
  EXPECT_NE(run({"eeprom", "-mk", "-x", testPath("id.xml"), "-f", testPath("no/such.bin")}).exitCode, 0);  // nowhere to put it
  writeFile(testPath("short.bin"), std::string(4095, '\xff'));
  std::vector<uint8_t> before = memOf("bp-eeprom");
  r = run({"eeprom", "-load", "bpEeprom", "-f", testPath("short.bin")});
  EXPECT_TRUE(contains(r.out, "short.bin is 4095 bytes: an image is exactly 4096; nothing was written")) << r.out;
  EXPECT_NE(run({"eeprom", "-load", "bpEeprom", "-f", testPath("nosuch.bin")}).exitCode, 0);
  EXPECT_EQ(memOf("bp-eeprom"), before);
  simctl({"kernel", "fail", "read", "i2c-2", "EIO"});  // the address taken, the bytes refused: nothing is saved
  r = run({"eeprom", "-save", "bpEeprom", "-f", testPath("none.bin")});
  EXPECT_TRUE(r.exitCode != 0 && contains(r.out, "unable to read 4096 bytes of bpEeprom")) << r.out;
  EXPECT_FALSE(std::filesystem::exists(testPath("none.bin")));
  r = run({"eeprom", "-id", "bpEeprom"});
  EXPECT_TRUE(r.exitCode != 0 && contains(r.out, "unable to read 40 bytes of bpEeprom at 0x000\n")) << r.out;
}

TEST_F(BoardId, XmlFilesAndConfiguration) {
  writeFile(testPath("a.xml"), "<a>\n  <b k=\"v\">text</b>\n  <c/>\n  <!-- no data -->\n  <d><![CDATA[1<2]]></d>tail\n</a>\n");
  RunResult x = run({"xml", "-f", testPath("a.xml")});
  EXPECT_EQ(x.out + std::to_string(x.exitCode), "a\n  b k=\"v\": text\n  c\n  d: 1<2\n  tail\n0");
  EXPECT_EQ(run({"xml", "-f", testPath("a.xml"), "-x", "//b/@k"}).out, "v\n");
  EXPECT_TRUE(contains(run({"xml", "-x", "//b"}).out, "give either -f or -d, see xml -h\n"));
  EXPECT_TRUE(contains(run({"xml", "-f", testPath("a.xml"), "-x", "//["}).out, "XPath //[: Invalid expression\n"));
  RunResult n = run({"xml", "-f", testPath("a.xml"), "-x", "count(//b)"});
  EXPECT_EQ(n.out + std::to_string(n.exitCode), "1\n0");
  const std::string value(600, 'w');  // a value longer than any message: printed whole
  writeFile(testPath("long.xml"), "<a>" + value + "</a>");
  EXPECT_EQ(run({"xml", "-f", testPath("long.xml"), "-x", "string(/a)"}).out, value + "\n");
  writeFile(testPath("bad.xml"), "<a>\n  <b>\n</a>\n");
  EXPECT_NE(run({"xml", "-f", testPath("bad.xml")}).exitCode, 0);  // its line and column: docs/board-identity.md
  RunResult r = run({"xml", "-f", testPath("bad.xml"), "-x", "//b"});
  EXPECT_TRUE(contains(r.out, "bad.xml: line 3, column 5: Opening and ending tag mismatch")) << r.out;
  writeFile(testPath("empty.cfg"), "e = \"\";\n");  // an empty string: a line of its own
  EXPECT_EQ(run({"cfg", "-g", "e", "-f", testPath("empty.cfg")}).out, "\n");
  EXPECT_TRUE(contains(run({"cfg", "-l"}).out, "limits.fanTestSpeed = 60\n"));
  EXPECT_EQ(run({"cfg", "-g", "limits.nosuch"}).exitCode, 1);  // its message, and a setting's value, are in docs/board-identity.md
  writeFile(testPath("bad.cfg"), "a = 1;\nb = ;\n");
  r = run({"cfg", "-l", "-f", testPath("bad.cfg")});
  EXPECT_NE(r.exitCode, 0);
  EXPECT_TRUE(contains(r.out, "configuration file " + testPath("bad.cfg") + ", line 2: syntax error\n")) << r.out;
  // The installed file: an empty one has no settings, one of the largest size is read whole.
  const std::string full = "a = 1;\n" + std::string(65536 - 9, '#') + "\n\n";
  struct Installed { std::string text; int exit; std::string out; } installed[] = {
      {"", 0, ""}, {full, 0, "1\n"}, {full + "#", 1, "configuration file /vesta/diags/diag.cfg is larger than 65536 bytes\n"}};
  for (const Installed& c : installed) {
    writeFile(testPath("installed.cfg"), c.text);
    simctl({"config", testPath("installed.cfg")});
    r = c.text.empty() ? run({"cfg", "-l"}) : run({"cfg", "-g", "a"});
    EXPECT_EQ(r.exitCode, c.exit) << c.text.size();
    EXPECT_TRUE(contains(r.out, c.out) && (c.exit || r.out == c.out)) << c.text.size() << ": " << r.out;
  }
  simctl({"config", "none"});
  r = run({"cfg", "-l"});
  EXPECT_TRUE(r.exitCode == 1 && contains(r.out, "unable to read configuration file /vesta/diags/diag.cfg\n")) << r.out;
  simctl({"config", "sample"});
}

// The libraries are loaded by the commands that need them, and only then.
TEST_F(BoardId, OnlyTheCommandsThatNeedTheLibrariesLoadThem) {
  auto loaded = [](const std::vector<std::string>& args) {
    return contains(runProgram(programArgv(diagSimBin(), args, "LD_DEBUG=libs")).out, "libxml2.so");
  };
  EXPECT_FALSE(loaded({"version"}));
  EXPECT_FALSE(loaded({"i2c", "-d", "mhEeprom", "-o", "0", "-r", "4"}));
  EXPECT_TRUE(loaded({"eeprom", "-id", "mhEeprom"}));
  // A program that cannot find the module says so in one line and fails.
  std::string lone = testPath("diag-sim");
  std::filesystem::copy_file(diagSimBin(), lone);
  RunResult r = runProgram(programArgv(lone, {"--exit-status", "cfg", "-l"}));
  EXPECT_TRUE(r.exitCode != 0 && contains(r.out, "cannot open diag-xml.so, which this command needs")) << r.out;
}
