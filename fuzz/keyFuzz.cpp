// Arbitrary key streams through the line editor, the way the shell reads its
// prompt: keys arrive on standard input (here a pipe the target fills) and
// getLine edits them into lines (completion, backspace, history browsing with
// ESC p / ESC n). Each finished line goes into the history and through the
// line parser, as the shell does before it runs one.
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "cmdHistory.h"
#include "cmdLine.h"
#include "fuzzEnv.h"
#include "keyInput.h"
#include "lineEditor.h"

namespace {
constexpr size_t MAX_KEYS = 16384;  // well within a pipe's buffer, so one write never blocks

int keysIn = -1;

// Standard input becomes the read end of a pipe whose write end the target
// keeps: the stream never reaches its end, so every input is read alike.
void keysFromPipe() {
  if (keysIn >= 0) return;
  int p[2];
  if (pipe(p) != 0 || dup2(p[0], STDIN_FILENO) < 0) {
    perror("fuzz: pipe");
    exit(1);
  }
  close(p[0]);
  keysIn = p[1];
  // As the shell does: unbuffered, so that the wait on the descriptor sees every key still to be read.
  setvbuf(stdin, nullptr, _IONBF, 0);
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzzSetup();
  keysFromPipe();
  if (size > MAX_KEYS) return -1;
  static CmdHistory history;
  history.clear();
  // Every stream ends with Enter: the editor then finishes its last line and
  // never waits for a key that will not come.
  std::string keys(reinterpret_cast<const char*>(data), size);
  keys += '\r';
  if (write(keysIn, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size())) abort();
  char line[LineEditor::MAX_CHARS];
  char argv[MAX_ARGS][ARG_LEN];
  int argc;
  while (inputAvailable()) {
    getLine(line, "diag> ", history, fuzzBoard().commands.map);
    if (history.put(line) == SUCCESS) lineParser(&argc, argv, history.slot(history.lastSlot()));
  }
  return 0;
}
