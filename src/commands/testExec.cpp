#include <cstdio>

#include "board.h"

namespace {
// Row 1 names the test; the words after it are the test's own ("runtest
// gpmcreg -h" is the test's help), read by the test's declaration.
const OptDecl test = rawRestWords("testname")
                         .says("usage:  runtest <-h|testname> [-h]\n         type listtests for a list of test names");
const OptDecl* const opts[] = {&test};

// The test's own status is the command's: the shell passes none on, but an exit
// status that was asked for tells PASSED from FAILED.
E_STATUS testExec(const Args& args, Board& board) {
  if (!args.has(test)) {
    printUsage(args.declaration());
    return SUCCESS;
  }
  auto it = board.tests().map.find(args.word(test));
  if (it == board.tests().map.end()) {
    log(LOG_TERM, "command not found\r\n");
    return CMD_NOT_FOUND;
  }
  return it->second->runTest(args.count(), args.rows());
}

E_STATUS listTests(const Args&, Board& board) {
  for (const auto& [name, t] : board.tests().map) printf("%s - %s\n", name.c_str(), t->helpString.c_str());
  fflush(stdout);
  return SUCCESS;
}
}  // namespace

constinit const CmdDecl runtestCmd = {
    .help = "Run the specified test", .args = {.name = "runtest", .opts = opts}, .handler = testExec};
DIAG_COMMAND(runtestCmd);
constinit const CmdDecl listtestsCmd = {
    .help = "List the available tests", .args = {.name = "listtests"}, .handler = listTests};
DIAG_COMMAND(listtestsCmd);
