// Every command is declared once and read by one scanner: each declaration
// answers -h with its own usage and nothing else, each command keeps its own
// scanning rules, and a number that is not one is refused before anything is done.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <set>
#include <string>
#include <tuple>

#include "args.h"
#include "cmdLine.h"
#include "cmdLineObjectMap.h"
#include "cmdRun.h"
#include "kernel.h"
#include "numArg.h"
#include "programs.h"
#include "testEnv.h"
#include "textUtil.h"

namespace {
std::string helpListing() { return captured([] { execCmd("help", testBoard()); }); }

// The usage -h prints: the declaration's own lines, or its name and help line.
std::string usageOf(const CmdDecl& d) {
  std::string text = usageText(d.args);
  return text.empty() ? std::string(d.name()) + " - " + d.help + "\n" : text;
}

// The commands of the instrument's command table, each of which the program must know.
const char* const TABLE[] = {
    "runtest", "listtests", "version", "i2c", "help", "ping", "tmp", "tmpwr", "led", "ledwr", "ledshow", "xfr",
    "gpmc", "spi", "delay", "system", "ramp", "mtmp", "mtmpwr", "ta", "log", "fpfpga", "fptmp", "fptmpwr", "enet",
    "pinctrl", "fan", "meas", "allok", "comp", "psc", "im", "oled", "eeprom", "pfc", "rst", "adc", "rev", "acq",
    "line", "bg", "calc", "utp", "ec", "file", "mrtmp", "mrtmpwr", "mref", "msdat", "matrix", "bt", "sfp", "xml",
    "sd", "cfg", "cap", "xth", "rmp", "dta"};

using CommandDecl = FreshSim;
}  // namespace

TEST_F(CommandDecl, EveryDeclarationIsListedAndAnswersHelpAtOnceWithoutTouchingADevice) {
  const std::string listing = helpListing();
  std::set<std::string> names;
  for (const CmdDecl* d : commandDeclarations()) {
    SCOPED_TRACE(d->name());
    EXPECT_TRUE(names.insert(d->name()).second) << "declared twice";
    EXPECT_TRUE(contains(listing, std::string(d->name()) + " - " + d->help + "\n"));
    EXPECT_EQ(strchr(d->help, '\n'), nullptr);
    if (!d->handler) continue;
    kernel().resetCounts();
    CmdResult r = runCmd(std::string(d->name()) + " -h");
    EXPECT_EQ(r.status, SUCCESS);
    EXPECT_EQ(r.out, usageOf(*d));
    EXPECT_EQ(kernel().counts().total(), 0u);
  }
  for (const char* name : TABLE) EXPECT_EQ(names.count(name), 1u) << name;
}

TEST_F(CommandDecl, EachCommandKeepsItsOwnScanningRules) {
  Trace t;
  // fan: a value is the next word and the scan still looks at it; the last word counts as 0; later words win.
  EXPECT_EQ(runCmd("fan -ss 10 -p 1 -ss 50").status, SUCCESS);
  EXPECT_EQ(t.grep("0x52 smbus write word_data cmd 0x3b data 0be0").size(), 1u);
  EXPECT_EQ(runCmd("fan -p 2 -ss").status, SUCCESS);
  EXPECT_EQ(t.grep("0x52 smbus write word_data cmd 0x3b data 0000").size(), 1u);
  EXPECT_EQ(simctl({"i2c", "peek", "fctl", "0x3b", "2"}), "0x0\n");
  // -h after other words returns at once, before they act.
  EXPECT_EQ(runCmd("fan -ss 50 -h").out, usageOf(testBoard().commands.find("fan")->decl));
  EXPECT_EQ(t.grep("cmd 0x3b").size(), 2u);
  // allok: the word after -fno is scanned too, so -l there lists the sources and ends the command.
  CmdResult r = runCmd("allok -fno -l");
  EXPECT_TRUE(r.status == SUCCESS && contains(r.out, "fctl\nfp\nmnhost\n") && !contains(r.out, "not found")) << r.out;
  // ec: -cd with nothing after it is passed over: the catalogue is shown.
  EXPECT_TRUE(contains(runCmd("ec -cd").out, "Error Codes:\n"));
  // gpmc: -h anywhere prints the usage, and nothing before it acts.
  simctl({"set", "board", "signal"});
  r = runCmd("gpmc -fmr -h");
  EXPECT_TRUE(contains(simctl({"fpga", "status"}), "forced resets 0"));
  EXPECT_TRUE(contains(r.out, "-l - list device names (for -m) from table\n"));
  // system: -h anywhere is the command's own, the other words the program's.
  EXPECT_EQ(runCmd("system ls -h").out, "system <program_name arg1 arg2...>\n");
}

// A word a command does not have, and a number that is not one or not in its range, is refused with one line
// naming it, before anything is done.
TEST_F(CommandDecl, AnOptionItDoesNotHaveOrABadNumberIsRefusedBeforeAnythingIsDone) {
  const struct { const char* line; const char* says; } refused[] = {
      {"fan -S 40", "-S"}, {"runtest gpmcreg -L 10", "-L"}, {"help -x", "-x"}, {"version now", "now"},
      {"delay -m 1 2", "2"}, {"runtest -zz", "runtest: unknown option -zz"},
      {"fan -ss abc", "fan -ss: abc is not a number (decimal, 0x hexadecimal or leading-zero octal)\n"},
      {"fan -ss 150", "fan -ss: 150 is out of range, 0 to 100\n"},
      {"fan -rr -p 200", "fan -p: 200 is out of range, 0 to 22\n"},
      {"fan -ss 50 -p 0x1g", "fan -p: 0x1g is not a number"},
      {"delay -s -1", "delay -s: -1 is out of range, 0 to 4294967295\n"},
      {"delay -m 4294967296", "delay -m: 4294967296 is out of range, 0 to 4294967295\n"},
      {"runtest gpmcreg -l abc", "gpmcreg -l: abc is not a number"},
      {"gpmc -fmr -o 12abc", "gpmc -o: 12abc is not a number"},
      {"gpmc -inv 0 3", "gpmc -inv: 3 is out of range, 1 to 2\n"},
  };
  for (const auto& c : refused) {
    SCOPED_TRACE(c.line);
    kernel().resetCounts();
    CmdResult r = runCmd(c.line);
    EXPECT_EQ(r.status, BAD_PARAMETER);
    // The refusal is the only line, and nothing ran.
    EXPECT_TRUE(contains(r.out, c.says)) << r.out;
    EXPECT_EQ(std::count(r.out.begin(), r.out.end(), '\n'), 1) << r.out;
    EXPECT_EQ(kernel().counts().total(), 0u);
  }
}

TEST_F(CommandDecl, ALineOfMoreThanTwentyWordsIsNotRun) {
  // One-shot: diag and 21 words more; the write would have lost its last bytes.
  std::vector<std::string> args = {"i2c", "-d", "mhEeprom", "-o", "0", "-w"};
  for (int i = 0; i < 16; ++i) args.push_back(std::to_string(i));
  Trace t;
  RunResult r = runSim(args);
  EXPECT_TRUE(contains(r.out, "too many words in the line, 23: at most 20 are taken; nothing was run\n")) << r.out;
  EXPECT_TRUE(t.grep("i2c-2").empty());
  // In a script the line is refused and the script goes on.
  writeFile(testPath("long.txt"), "ec -cd a b c d e f g h i j k l m n o p q r s t u v\nec -cd Scan\n");
  r = runSim({"file", testPath("long.txt")});
  EXPECT_TRUE(holdsAll(r.out, {"too many words in the line, 24", "!1729\n"}));
}
