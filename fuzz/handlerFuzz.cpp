// Every connected handler with arbitrary argument arrays, called as the
// dispatcher calls it: row 0 names the command, then up to 19 rows of at most
// 199 characters. The input's first byte chooses the command and the board
// the simulated instrument is; for runtest the second byte chooses the test
// (row 1), so that every self-test is run. The rows follow, each ended by a
// NUL or a newline.
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string>

#include "fuzzBounds.h"
#include "fuzzEnv.h"
#include "cmdLine.h"
#include "testMap.h"

namespace {
const Test* testByIndex(uint8_t n) {
  const TMap& tests = fuzzBoard().tests().map;
  auto it = tests.begin();
  std::advance(it, n % tests.size());
  return it->second;
}

// Fills rows from `row` on with the input's rows; returns the row count.
int fillRows(char argv[][ARG_LEN], int row, const uint8_t* p, const uint8_t* end) {
  while (p < end && row < MAX_ARGS) {
    size_t n = 0;
    while (p + n < end && p[n] != '\0' && p[n] != '\n') ++n;
    const size_t kept = n < ARG_LEN - 1 ? n : ARG_LEN - 1;
    memcpy(argv[row], p, kept);
    argv[row][kept] = '\0';
    ++row;
    p += n + 1;
  }
  return row;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzzSetup();
  if (size < 1) return 0;
  const auto cmds = connectedCommands();
  const CmdDecl& cmd = *cmds[data[0] % cmds.size()];
  resetInstrument(boardByIndex(static_cast<uint8_t>(data[0] / cmds.size())));
  char argv[MAX_ARGS][ARG_LEN] = {};
  snprintf(argv[0], ARG_LEN, "%s", cmd.name());
  int argc = 1;
  const uint8_t* p = data + 1;
  if (!strcmp(cmd.name(), "runtest") && size >= 2) {
    snprintf(argv[1], ARG_LEN, "%s", testByIndex(data[1])->nm.c_str());
    argc = 2;
    ++p;
  }
  argc = fillRows(argv, argc, p, data + size);
  if (whyNotRun(argc, argv)) return -1;  // not kept in the corpus
  cmdExec(argc, argv, fuzzBoard());
  return 0;
}
