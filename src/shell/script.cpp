#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include "cmdLine.h"
#include "dcli.h"
#include "log.h"
#include "processEnd.h"
#include "progOpts.h"

namespace {
// The longest script line kept, far beyond a command line, so that banner
// lines (#!) are echoed whole. A longer line is cut there and the rest of it
// skipped: whatever a file holds (an endless line), memory stays bounded.
constexpr int SCRIPT_LINE_MAX = 4096;

// fgets into buf; true when it stopped at a newline or at the end of the file,
// false when the buffer filled first. NUL characters in the line do not fool it:
// fgets writes the buffer's last byte only when it fills the buffer.
bool readToEnd(FILE* f, char* buf, int size, bool* got) {
  buf[size - 1] = 1;
  *got = fgets(buf, size, f) != nullptr;
  return !*got || buf[size - 1] != '\0' || buf[size - 2] == '\n';
}

// Reads one line, without its end, into buf; sets cut when it did not fit
// (the rest of it is then still to be read: see skipRest).
bool readScriptLine(FILE* f, char (&buf)[SCRIPT_LINE_MAX + 1], bool* cut) {
  bool got;
  bool whole = readToEnd(f, buf, sizeof buf, &got);
  if (!got) return false;
  *cut = false;
  if (!whole) {
    int c = getc(f);
    *cut = c != '\n' && c != EOF;
  }
  size_t n = strlen(buf);
  if (n > 0 && buf[n - 1] == '\n') buf[--n] = '\0';
  // Scripts edited on other systems end their lines with CR LF.
  if (n > 0 && buf[n - 1] == '\r') buf[--n] = '\0';
  return true;
}

void skipRest(FILE* f) {
  char rest[512];
  bool got;
  while (!readToEnd(f, rest, sizeof rest, &got) && !interrupted()) {
  }
}

bool isRunnable(const char* line) {
  unsigned char c = static_cast<unsigned char>(line[0]);
  return c > 0x20 && c <= 0x7E && c != '#';
}

// Prints a banner line whole with its newline: one log call holds a few hundred characters.
void echoLine(const char* line) {
  constexpr size_t PIECE = 200;
  for (size_t n = strlen(line), at = 0; at < n; at += PIECE)
    log(LOG_TERM, "%s", std::string(line + at, std::min(PIECE, n - at)).c_str());
  log(LOG_TERM, "\n");
}

// The worse of two statuses, as the exit status ranks them.
E_STATUS worse(E_STATUS a, E_STATUS b) { return exitCode(b) > exitCode(a) ? b : a; }
}  // namespace

E_STATUS runScript(FILE* f, const char* name, Board& board) {
  char line[SCRIPT_LINE_MAX + 1];
  char argv[MAX_ARGS][ARG_LEN];
  int argc;
  bool cut;
  E_STATUS worst = SUCCESS;
  for (int lineNo = 1; !interrupted() && readScriptLine(f, line, &cut); ++lineNo) {
    if (cut) {
      // Said before the rest is read: an endless line (/dev/zero) is read until the operator interrupts.
      LOGERR(LOG_TERM, "line %d of file %s is longer than %d characters: cut there, the rest of it skipped\n", lineNo,
             name, SCRIPT_LINE_MAX);
      skipRest(f);
    }
    if (!isRunnable(line)) {
      if (!strncmp(line, "#!", 2)) echoLine(line);
      continue;
    }
    if (!strcmp(line, "stop")) {
      log(LOG_TERM, "found stop - stopping\n");
      return worst;
    }
    if (E_STATUS st = lineParser(&argc, argv, line); st != SUCCESS) {
      worst = worse(worst, st);  // refused with its reason; the script goes on
      continue;
    }
    E_STATUS cmdStatus = SUCCESS;
    if (cmdExec(argc, argv, board, &cmdStatus) != SUCCESS) {
      LOGERR(LOG_TERM, "cmdExec failed\n");
      return worst;
    }
    worst = worse(worst, cmdStatus);
  }
  if (interrupted()) return FAILURE;
  // A directory, or a file the system cannot read: say so rather than run nothing in silence.
  if (ferror(f)) {
    int err = errno;
    LOGERR(LOG_TERM, "unable to read file %s, so it cannot be run\n", name);
    logErrno(LOG_TERM, err);
    return FAILURE;
  }
  return worst;
}
