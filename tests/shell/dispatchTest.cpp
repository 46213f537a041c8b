#include <gtest/gtest.h>

#include <string>

#include "cmdLine.h"
#include "commands.h"
#include "errCode.h"
#include "testEnv.h"
#include "textUtil.h"
#include "version.h"

namespace {
std::string run(const std::string& line) { return captured([&] { execCmd(line); }); }
}  // namespace

TEST(Dispatch, UnknownAndUnconnectedCommandsAreReportedNotFailed) {
  EXPECT_EQ(run("  help"), "command not found\r\n");
  EXPECT_EQ(run("HELP"), "command not found\r\n");
  EXPECT_EQ(run("file x"), "file - command not connected to a function\n");
  EXPECT_EQ(run("ping host"), "ping - command not connected to a function\n");
  char argv[MAX_ARGS][ARG_LEN] = {"nosuch"};
  captured([&] { EXPECT_EQ(cmdExec(1, argv), SUCCESS); });
  EXPECT_EQ(cmdExec(0, argv), BAD_PARAMETER);
  EXPECT_EQ(cmdExec(1, nullptr), NULL_POINTER);
}

TEST(ErrCodes, CatalogueListsAndSearches) {
  EXPECT_EQ(run("ec -cd EEPROM"), "!0718\n!0719\n!071A\n!1001\n"
                                  "!170F\n!1710\n!1711\n!1712\n!1713\n!1714\n!1715\n!1716\n!1717\n");
  EXPECT_EQ(run("ec -cd nowhere"), "");
  std::string out = run("ec");
  EXPECT_EQ(out.rfind("Most significant nibble indicates test-running module:\n", 0), 0u);
  EXPECT_NE(out.find("1729 - I2C Scan test failed\n172a - Time up test failed\n"), std::string::npos);
  EXPECT_NE(out.find("\n\nWarning Codes:\n07c0 - NOR flash corrupt\n"), std::string::npos);
  EXPECT_NE(out.find("1001 -      - Main Host 0     0977 Core Module"), std::string::npos);
}

TEST(Version, ShowsTheRevisionFileWhenThereIsOne) {
  writeFile(testPath("rev.txt"), "build:42\nbranch_commit: 7\nnoise\nmerge_to_devel:feature-x\n");
  simctl({"revision", testPath("rev.txt")});
  std::string out = run("version");
  EXPECT_EQ(out.rfind("Diagnostics Build: ", 0), 0u);
  EXPECT_NE(out.find("\nMerged to develop branch from branch feature-x\nBranch commit# 7\nBuild# 42\n"),
            std::string::npos);

  simctl({"revision", "none"});
  out = run("version");
  EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 1) << out;
}
