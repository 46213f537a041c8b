// The installed diagnostics' revision file, as version shows it.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "cmdRun.h"
#include "testEnv.h"

TEST(Version, ShowsTheRevisionFileWhenThereIsOne) {
  writeFile(testPath("rev.txt"), "build:42\nbranch_commit: 7\nnoise\nmerge_to_devel:feature-x\n");
  simctl({"revision", testPath("rev.txt")});
  std::string out = runCmd("version").out;
  EXPECT_EQ(out.rfind("Diagnostics Build: ", 0), 0u);
  EXPECT_NE(out.find("\nMerged to develop branch from branch feature-x\nBranch commit# 7\nBuild# 42\n"), std::string::npos);
  // A line that is not there gives 0 and no branch; the file's last byte comes in a read of its own.
  writeFile(testPath("rev.txt"), std::string(504, '#') + "\nbuild:42");
  simctl({"revision", testPath("rev.txt")});
  EXPECT_NE(runCmd("version").out.find("branch \nBranch commit# 0\nBuild# 42\n"), std::string::npos);

  simctl({"revision", "none"});
  out = runCmd("version").out;
  EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 1) << out;
}
