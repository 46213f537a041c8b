#include "fuzzEnv.h"

#include <fcntl.h>
#include <ftw.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <utility>
#include <vector>

#include "cmdLineObjectMap.h"
#include "fuzzBounds.h"
#include "cmdLine.h"
#include "simCtl.h"
#include "simStore.h"

namespace {
constexpr size_t MAX_CMDS = 80;

std::string dir;
std::array<CmdHandler, MAX_CMDS> original;
std::vector<const CmdDecl*> connected;

template <size_t I>
E_STATUS guardedHandler(const Args& args, Board& board) {
  if (whyNotRun(args.count(), args.rows())) return SUCCESS;
  return original[I](args, board);
}

template <size_t... I>
constexpr std::array<CmdHandler, sizeof...(I)> guardedHandlers(std::index_sequence<I...>) {
  return {&guardedHandler<I>...};
}

int removeEntry(const char* path, const struct stat*, int, struct FTW*) { return ::remove(path); }
void removeDir() { nftw(dir.c_str(), removeEntry, 16, FTW_DEPTH | FTW_PHYS); }

ssize_t discard(void*, const char*, size_t n) { return static_cast<ssize_t>(n); }

// The program flushes standard output after every line it logs: into /dev/null
// that is a system call a line, a tenth of a script's time. The stream throws
// its text away itself; the descriptor still leads to /dev/null for anything
// written to it directly.
void discardStdout() {
  static const cookie_io_functions_t sink = {nullptr, discard, nullptr, nullptr};
  FILE* f = fopencookie(nullptr, "w", sink);
  if (!f) {
    perror("fuzz: fopencookie");
    exit(1);
  }
  stdout = f;
}

void redirect(int fd, const char* path, int flags) {
  int f = open(path, flags);
  if (f < 0 || dup2(f, fd) < 0) {
    perror(path);
    exit(1);
  }
  close(f);
}

// Every connected command of the board's registry runs behind the bounds.
void installGuarded(CmdLineObjectMap& commands) {
  static constexpr auto handlers = guardedHandlers(std::make_index_sequence<MAX_CMDS>());
  if (commands.map.size() > MAX_CMDS) {
    fprintf(stderr, "fuzz: %zu commands, the target bounds at most %zu\n", commands.map.size(), MAX_CMDS);
    exit(1);
  }
  size_t i = 0;
  for (auto& [name, obj] : commands.map) {
    if (!obj.cmd) continue;
    original[i] = obj.cmd;
    obj.cmd = handlers[i++];
    connected.push_back(&obj.decl);
  }
}
}  // namespace

void fuzzSetup() {
  static bool done = false;
  if (done) return;
  done = true;
  char tmpl[] = "/tmp/diagfuzz.XXXXXX";
  if (!mkdtemp(tmpl)) {
    perror("fuzz: mkdtemp");
    exit(1);
  }
  dir = tmpl;
  atexit(removeDir);
  if (chdir(tmpl) != 0) {
    perror("fuzz: chdir");
    exit(1);
  }
  // An input costs what the program does, not the state file's lock and checks.
  if (!sim::useMemoryState()) {
    fputs("fuzz: the simulated instrument was in use before the target chose its memory\n", stderr);
    exit(1);
  }
  unsetenv("DIAG_SIM_TRACE");
  fputs(boundsText(), stderr);
  redirect(STDIN_FILENO, "/dev/null", O_RDONLY);
  redirect(STDOUT_FILENO, "/dev/null", O_WRONLY);
  discardStdout();
  installGuarded(fuzzBoard().commands);
}

Board& fuzzBoard() {
  static Board* board = new Board([](const std::string& line) { execCmd(line, fuzzBoard()); });
  return *board;
}

std::span<const CmdDecl* const> connectedCommands() { return connected; }

void resetInstrument(const char* board) {
  std::string out;
  sim::simCtl({"reset"}, out);
  sim::simCtl({"set", "board", board}, out);
}

const char* boardByIndex(uint8_t n) {
  static const char* const boards[] = {"main", "signal", "fp", "mref"};
  return boards[n % 4];
}
