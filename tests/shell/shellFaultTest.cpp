// The shell's own failure reports in this process, where the test can see
// what happened after each.
#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <string>

#include "cmdRun.h"
#include "cmdLine.h"
#include "dcli.h"
#include "testEnv.h"
#include "textUtil.h"

// The clock tool cannot run here, so its output file is whatever is in the
// working directory: without one the test says so and fails; with one it is shown.
TEST(ShellFault, SyslogTestWithoutTheClockOutputFailsAndWithItShowsIt) {
  char was[PATH_MAX];
  ASSERT_NE(getcwd(was, sizeof was), nullptr);
  std::string dir = testPath("logts");
  ASSERT_EQ(system(("mkdir -p '" + dir + "'").c_str()), 0);
  ASSERT_EQ(chdir(dir.c_str()), 0);
  CmdResult r = runCmd("log -ts");
  EXPECT_EQ(r.status, FAILURE);
  EXPECT_TRUE(r.out.ends_with("function testSyslog - unable to open file file_output.txt\n")) << r.out;
  writeFile(dir + "/file_output.txt", "60.000 Hz\n");
  r = runCmd("log -ts");
  EXPECT_EQ(r.status, SUCCESS);
  EXPECT_TRUE(contains(r.out, "60.000 Hz\n")) << r.out;
  ASSERT_EQ(chdir(was), 0);
}

// A line past the script limit is cut, the rest of it skipped, and the script
// goes on with the next line.
TEST(ShellFault, OverlongScriptLineIsCutAndTheScriptGoesOn) {
  std::string path = testPath("long-inproc.txt");
  writeFile(path, "#!first\n#" + std::string(5000, 'x') + " help\n#!after\n");
  FILE* f = fopen(path.c_str(), "r");
  ASSERT_NE(f, nullptr);
  std::string out = captured([&] { EXPECT_EQ(runScript(f, path.c_str(), testBoard()), SUCCESS); });
  fclose(f);
  EXPECT_TRUE(contains(out, "line 2 of file " + path + " is longer than 4096 characters: cut there, the rest of it "
                            "skipped\n")) << out;
  EXPECT_TRUE(out.starts_with("#!first\n")) << out;
  EXPECT_TRUE(out.ends_with("#!after\n")) << out;
  EXPECT_FALSE(contains(out, "help")) << "the cut-off rest was not run";
}
