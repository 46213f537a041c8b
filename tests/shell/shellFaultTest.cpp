// The shell's own failure reports in this process, where the test can see
// what happened after each.
#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <string>

#include "cmdRun.h"
#include "cmdLine.h"
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
