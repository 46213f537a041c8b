#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "cmdLine.h"
#include "cmdRun.h"
#include "i2cDevMap.h"
#include "testEnv.h"
#include "textUtil.h"

namespace {
struct Parsed {
  int argc = 0;
  char argv[MAX_ARGS][ARG_LEN] = {};
};

Parsed parse(const std::string& line) {
  Parsed p;
  EXPECT_EQ(lineParser(&p.argc, p.argv, line.c_str()), SUCCESS);
  return p;
}

// What fn printed, run with the standard input closed, as a service may start the program: each file it opens then
// gets descriptor 0, free again once the file is closed.
std::string withoutStdin(const std::function<void()>& fn) {
  fflush(stdout);
  int out = dup(1), f = open(testPath("out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), in = dup(0);
  dup2(f, 1);
  close(f);
  close(0);
  fn();
  fflush(stdout);
  const bool kept = fcntl(0, F_GETFD) != -1;
  dup2(in, 0);
  dup2(out, 1);
  close(in);
  close(out);
  return (kept ? "descriptor 0 left open\n" : "") + readFile(testPath("out"));
}
}  // namespace

// A tab is an ordinary character, a trailing blank adds an empty argument, an open quote runs to the end.
TEST(LineParser, BlanksSeparateQuotesGroupAndEmptyArgumentsAreKept) {
  const std::pair<const char*, std::vector<std::string>> cases[] = {
      {"i2c  -l", {"i2c", "", "-l"}}, {"  help", {"", "", "help"}}, {"", {""}}, {"a\tb ", {"a\tb", ""}},
      {"\"a b\" c", {"a b", "c"}}, {"x \"unclosed rest of line", {"x", "unclosed rest of line"}}};
  for (const auto& [line, want] : cases) {
    Parsed p = parse(line);
    EXPECT_EQ(std::vector<std::string>(p.argv, p.argv + p.argc), want) << line;
  }
}

// A line longer than a line can be, or of more than 20 words, is refused, not
// cut: cut, it would run something else than was asked.
TEST(LineParser, LongLinesAndManyWordsAreRefusedInsideTheArray) {
  Parsed p = parse(std::string(199, 'x'));
  ASSERT_EQ(p.argc, 1);
  EXPECT_EQ(std::string(p.argv[0]).size(), 198u);  // a word holds at most 198

  Parsed longLine;
  std::string out = captured([&] {
    EXPECT_EQ(lineParser(&longLine.argc, longLine.argv, ("a " + std::string(250, 'y')).c_str()), INVALID_STRING);
  });
  EXPECT_EQ(out, "the line is 252 characters long: at most 199 are taken; nothing was run\n");
  EXPECT_EQ(longLine.argc, 1);

  // More than 20 words: refused, and nothing is written past the array's 20 rows.
  std::string words = "w0";
  for (int i = 1; i < 40; ++i) words += " w" + std::to_string(i);
  Parsed many;
  EXPECT_EQ(lineParser(&many.argc, many.argv, words.c_str()), TOO_MANY_ARGS);
  EXPECT_EQ(many.argc, MAX_ARGS);
  EXPECT_STREQ(many.argv[19], "w19");
  p = parse(words.substr(0, words.find(" w20")));  // exactly 20 words are taken
  EXPECT_EQ(p.argc, MAX_ARGS);

  EXPECT_EQ(lineParser(nullptr, p.argv, "x"), NULL_POINTER);
  EXPECT_EQ(lineParser(&p.argc, p.argv, nullptr), SUCCESS);
  EXPECT_TRUE(p.argc == 1 && p.argv[0][0] == '\0') << p.argv[0];
}

namespace {
// Runs a line through the dispatcher: what it printed, what it returned and the command's own status.
struct Dispatched {
  std::string out;
  E_STATUS ret, cmd;
};
Dispatched dispatch(const std::string& line) {
  Parsed p = parse(line);
  Dispatched d{"", INVALID_STATUS, INVALID_STATUS};
  d.out = captured([&] { d.ret = cmdExec(p.argc, p.argv, testBoard(), &d.cmd); });
  return d;
}

using Dispatch = FreshSim;
}  // namespace

// The dispatcher reports every outcome to its caller (for an exit status) and
// fails only on a bad array: a script goes on after an unknown, unconnected or
// failing command.
TEST_F(Dispatch, EveryOutcomeIsReportedAndOnlyABadArrayFails) {
  const struct { const char* line; const char* out; E_STATUS cmd; } cases[] = {
      {"  help", "command not found\r\n", CMD_NOT_FOUND},
      {"HELP", "command not found\r\n", CMD_NOT_FOUND},
      {"file x", "file - command not connected to a function\n", FXN_NOT_SUPPORTED},
      {"ec -cd Scan", "!1729\n", SUCCESS},
      {"runtest gpmcreg -l 0x1g", nullptr, BAD_PARAMETER},
      {"runtest nosuch", "command not found\r\n", CMD_NOT_FOUND},
  };
  for (const auto& c : cases) {
    Dispatched d = dispatch(c.line);
    EXPECT_EQ(d.ret, SUCCESS) << c.line;
    EXPECT_EQ(d.cmd, c.cmd) << c.line;
    if (c.out) {
      EXPECT_EQ(d.out, c.out) << c.line;
    }
  }
  simctl({"fpga", "fault", "stuck", "0x04", "0", "1"});
  EXPECT_EQ(dispatch("runtest gpmcreg").cmd, FAILURE) << "a FAILED self-test's status reaches the caller";
  char argv[MAX_ARGS][ARG_LEN] = {"help"};
  EXPECT_EQ(cmdExec(0, argv, testBoard()), BAD_PARAMETER);
  EXPECT_EQ(cmdExec(1, nullptr, testBoard()), NULL_POINTER);
}

TEST_F(Dispatch, DescriptorZeroIsAsGoodAsAnyOther) {
  writeFile(testPath("rev.txt"), "build:42\n");
  simctl({"revision", testPath("rev.txt")});
  for (const char* line : {"i2c -d mhEeprom -o 0 -r 4", "gpmc -m reg -r 1", "rev", "version", "tmp", "fan -rr -p 1"}) {
    const CmdResult open = runCmd(line);  // first, so that what the program keeps open is opened now
    E_STATUS st = INVALID_STATUS;
    EXPECT_EQ(withoutStdin([&] { Parsed p = parse(line); cmdExec(p.argc, p.argv, testBoard(), &st); }), open.out);
    EXPECT_EQ(st, open.status) << line;
  }
  simctls({{"set", "switch", "host", "pca9545"}, {"set", "mref-addr", "0x4d"}});
  EXPECT_EQ(withoutStdin([] {
              I2cDevMap m{testBoard().i2cSem};
              printf("%u %u\n", m.find("hostsw")->address, m.find("mrtmp1")->address);
            }),
            "105 77\n");
}
