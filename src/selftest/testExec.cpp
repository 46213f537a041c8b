#include <cstdio>
#include <cstring>

#include "argScan.h"
#include "commands.h"
#include "log.h"
#include "testMap.h"

namespace {
const char* const runtestUsage[] = {"usage:  runtest <-h|testname> [-h]",
                                    "         type listtests for a list of test names"};
}  // namespace

// Row 1 names the test; the words after it are the test's own ("runtest
// gpmcreg -h" is the test's help), so the command reads no options itself.
// The test's own status is returned (CMD_NOT_FOUND for an unknown test): the
// shell passes no command's status on, except as the exit status of a
// one-shot run that asked for one.
E_STATUS testExec(int argc, char argv[][ARG_LEN]) {
  if (argc < 1) return BAD_PARAMETER;
  if (!argv) return NULL_POINTER;
  if (argc == 1 || (argc == 2 && !strcmp(argv[1], "-h"))) {
    printUsage(runtestCmd.args);
    return SUCCESS;
  }
  TestMap* tm = TestMap::getTestMap();
  auto it = tm->map.find(argv[1]);
  if (it == tm->map.end()) {
    log(LOG_TERM, "command not found\r\n");
    return CMD_NOT_FOUND;
  }
  return it->second->runTest(argc, argv);  // each test prints its own verdict
}

E_STATUS listTests(int argc, char argv[][ARG_LEN]) {
  for (const auto& [name, test] : TestMap::getTestMap()->map) printf("%s - %s\n", name.c_str(), test->helpString.c_str());
  fflush(stdout);
  return SUCCESS;
}

constinit const CmdDecl runtestCmd = {
    .help = "Run the specified test", .args = {.name = "runtest", .usage = runtestUsage}, .handler = testExec};
constinit const CmdDecl listtestsCmd = {
    .help = "List the available tests", .args = {.name = "listtests"}, .handler = listTests};
