// The error-code catalogue as the ec command shows and searches it.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "cmdRun.h"

// A search that finds nothing succeeds too; the whole listing is shown, and run, in docs/commands.md.
TEST(ErrCodes, CatalogueListsAndSearches) {
  for (auto [line, out] : {std::pair{"ec -cd EEPROM", "!0718\n!0719\n!071A\n!1001\n!170F\n!1710\n!1711\n!1712\n!1713\n"
                                                      "!1714\n!1715\n!1716\n!1717\n"}, {"ec -cd nowhere", ""}}) {
    CmdResult r = runCmd(line);
    EXPECT_TRUE(r.status == SUCCESS && r.out == out) << line << ": " << r.out;
  }
}
