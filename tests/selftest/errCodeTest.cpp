// The error-code catalogue as the ec command shows and searches it.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "cmdLine.h"
#include "cmdRun.h"
#include "testEnv.h"
#include "textUtil.h"

namespace {
// The command's output; a listing or a search always succeeds.
std::string run(const std::string& line) {
  CmdResult r = runCmd(line);
  EXPECT_EQ(r.status, SUCCESS) << line;
  return r.out;
}
}  // namespace

TEST(ErrCodes, CatalogueListsAndSearches) {
  EXPECT_EQ(run("ec -cd EEPROM"), "!0718\n!0719\n!071A\n!1001\n"
                                  "!170F\n!1710\n!1711\n!1712\n!1713\n!1714\n!1715\n!1716\n!1717\n");
  EXPECT_EQ(run("ec -cd nowhere"), "");  // the whole listing is shown, and run, in docs/commands.md
}
