// diag as a test script calls it: --help and --version, and the exit status
// that --exit-status (or DIAG_EXIT_STATUS=1) asks for. Without them a one-shot
// run exits 0, whatever happened.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "programs.h"
#include "testEnv.h"
#include "textUtil.h"

namespace {
struct Statuses {
  int asked, byEnv, plain;
};

Statuses statuses(const std::vector<std::string>& args, const std::string& input = "") {
  std::vector<std::string> withOpt = {"--exit-status"};
  withOpt.insert(withOpt.end(), args.begin(), args.end());
  RunResult byEnv = runProgram(programArgv(diagSimBin(), args, "DIAG_EXIT_STATUS=1"), input);
  return {runSim(withOpt, input).exitCode, byEnv.exitCode, runSim(args, input).exitCode};
}
}  // namespace

TEST(ProgramOptions, HelpAndVersionAnswerAndOtherOptionsAreRefused) {
  for (const std::string& bin : {diagBin(), diagSimBin()}) {
    RunResult help = runProgram(programArgv(bin, {"--help"}));
    EXPECT_EQ(help.exitCode, 0);
    for (const char* part : {"usage: diag", "--exit-status", "DIAG_EXIT_STATUS=1", "DIAG_SIM_STATE", "man diag"})
      EXPECT_TRUE(contains(help.out, part)) << part << "\n" << help.out;
    RunResult version = runProgram(programArgv(bin, {"--version"}));
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_TRUE(version.out.starts_with("Diagnostics Build: ")) << version.out;
  }
  RunResult r = runSim({"--frobnicate", "help"});
  EXPECT_EQ(r.exitCode, 2);
  EXPECT_EQ(r.out, "unknown option --frobnicate (--help lists the options)\n");
  // After the command word, "--" words are the command's; a word with one dash is a command word.
  EXPECT_EQ(runSim({"ec", "-cd", "--help"}).out, "");
  EXPECT_EQ(runSim({"-q", "help"}).out, "command not found\r\n");
}

TEST(ProgramOptions, ExitStatusTellsSuccessFailureAndBadUsage) {
  simctl({"reset"});
  std::vector<std::string> words = {"delay"};  // 19 words, the most a one-shot line takes
  for (int i = 0; i < 9; ++i) words.insert(words.end(), {"-m", "0"});
  const struct { std::vector<std::string> args; int code; } cases[] = {
      {{"ec", "-cd", "Scan"}, 0},
      {{"runtest", "gpmcreg"}, 0},
      {{"runtest"}, 0},  // shows its usage, as asked
      {{"nosuch"}, 2},
      {{"ping", "host"}, 2},  // not connected in this build
      {{"runtest", "nosuch"}, 2},
      {{"runtest", "tmp0reg"}, 2},  // a self-test this build cannot run
      {{"fan", "-ss", "150"}, 2},
      {{"gpmc", "-m"}, 2},
      {{"allok", "-fno", "nosuch"}, 1},  // the command was right; what it names is not there
      {words, 0},
      {{"ec", "-cd", std::string(190, 'y')}, 2},  // longer than a line
      {{"gpmc", "-m", "reg", "-r", "1", "-s", "-f", "/dev/full"}, 1},
      {{"gpmc", "-m", "reg", "-r", "1", "-s", "-f", testPath("no/such/folder")}, 1},
  };
  for (const auto& c : cases) {
    Statuses s = statuses(c.args);
    EXPECT_EQ(s.asked, c.code) << c.args[0] << " " << c.args.back();
    EXPECT_EQ(s.byEnv, c.code) << c.args[0] << " " << c.args.back();
    EXPECT_EQ(s.plain, 0) << c.args[0] << " " << c.args.back();
  }
  words.push_back("x");  // twenty words after the program's name
  EXPECT_EQ(statuses(words).asked, 2);
  Statuses utp = statuses({"utp", "-m", "answer", "-f", "/dev/full"}, "yes\n");
  EXPECT_EQ(std::pair(utp.asked, utp.plain), std::pair(1, 0));

  simctl({"fpga", "fault", "stuck", "0x04", "3", "0"});
  EXPECT_EQ(statuses({"runtest", "gpmcreg"}).asked, 1);  // FAILED
  // A script: the worst of its lines.
  writeFile(testPath("pass.txt"), "ec -cd Scan\nversion\n");
  writeFile(testPath("fail.txt"), "runtest gpmcreg\nec -cd Scan\n");
  writeFile(testPath("bad.txt"), "runtest gpmcreg\nnosuch\nversion\n");
  EXPECT_EQ(statuses({"file", testPath("pass.txt")}).asked, 0);
  EXPECT_EQ(statuses({"file", testPath("fail.txt")}).asked, 1);
  EXPECT_EQ(statuses({"file", testPath("bad.txt")}).asked, 2);
  EXPECT_EQ(statuses({"file", testPath("missing.txt")}).asked, 1);
  simctl({"reset"});
}
