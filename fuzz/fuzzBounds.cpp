#include "fuzzBounds.h"

#include <climits>
#include <cstring>
#include <initializer_list>

#include "numArg.h"

namespace {
// A runtest loop count of 0 (or none given after -l) runs until a key is pressed.
constexpr unsigned long MAX_TEST_LOOPS = 3;
constexpr unsigned long MAX_DELAY_MS = 0;
constexpr unsigned long MAX_GPMC_WORDS = 4096;
constexpr unsigned long MAX_COL_SAMPLES = 1024;

const char* const TEXT =
    "fuzz bounds: the target runs every connected command except:\n"
    "  ta                         skipped: three actions over three seconds by design\n"
    "  system, bg                 skipped: they start other programs\n"
    "  delay                      run only with -s 0 and -m 0 (its job is to pause)\n"
    "  runtest TEST -l N          run only with N from 1 to 3 (0 or no value runs until a key)\n"
    "  gpmc -t                    skipped: it counts waveform cycles over a second\n"
    "  gpmc -r/-ctf N, -col N     run only with N at most 4096 words, -col at most 1024 samples\n"
    "  gpmc, utp, eeprom, xml,    run only without '/' in any word: files stay in the target's own directory\n"
    "  cfg file names             (and no device file is read as XML or settings)\n"
    "  log on, log -ts            skipped: the system log would get every later message; -ts starts a program\n"
    "stdin is /dev/null (a key wait or an operator's answer ends at once), stdout is thrown away;\n"
    "a pause of the program (usleep: PMBus gaps, polls, settling) moves the simulated clock on instead\n";

bool named(const char* cmd, std::initializer_list<const char*> names) {
  for (const char* n : names)
    if (!strcmp(cmd, n)) return true;
  return false;
}

// True when some row from `from` on is one of the words.
bool hasWord(int argc, char argv[][ARG_LEN], int from, std::initializer_list<const char*> words) {
  for (int i = from; i < argc; ++i)
    if (named(argv[i], words)) return true;
  return false;
}

// Every value given to the option (the row after it) is a number within
// [lo, hi], or is no number at all (then the command refuses it itself). An
// option that ends the line counts as value 0, as the commands read it.
bool valuesWithin(int argc, char argv[][ARG_LEN], const char* opt, unsigned long lo, unsigned long hi) {
  for (int i = 1; i < argc; ++i) {
    if (strcmp(argv[i], opt)) continue;
    unsigned long v = 0;
    if (i + 1 < argc && parseNumArg(argv[i + 1], 0, ULONG_MAX, &v) != NUM_ARG_OK) continue;
    if (v < lo || v > hi) return false;
  }
  return true;
}

bool anyRowHas(int argc, char argv[][ARG_LEN], char c) {
  for (int i = 1; i < argc; ++i)
    if (strchr(argv[i], c)) return true;
  return false;
}
}  // namespace

const char* whyNotRun(int argc, char argv[][ARG_LEN]) {
  if (argc < 1) return nullptr;
  const char* cmd = argv[0];
  if (named(cmd, {"ta"})) return "ta waits seconds";
  if (named(cmd, {"system", "bg"})) return "starts a program";
  if (named(cmd, {"delay"}) && !(valuesWithin(argc, argv, "-s", 0, 0) && valuesWithin(argc, argv, "-m", 0, MAX_DELAY_MS)))
    return "delay too long";
  if (named(cmd, {"runtest"}) && !valuesWithin(argc, argv, "-l", 1, MAX_TEST_LOOPS)) return "loop count";
  if (named(cmd, {"gpmc"})) {
    if (hasWord(argc, argv, 1, {"-t"})) return "counts cycles over a second";
    if (!valuesWithin(argc, argv, "-r", 0, MAX_GPMC_WORDS) || !valuesWithin(argc, argv, "-col", 0, MAX_COL_SAMPLES))
      return "too many words";
    // -ctf takes a file name, then the sample count.
    for (int i = 1; i + 2 < argc; ++i) {
      unsigned long v;
      if (!strcmp(argv[i], "-ctf") && parseNumArg(argv[i + 2], 0, ULONG_MAX, &v) == NUM_ARG_OK && v > MAX_GPMC_WORDS)
        return "too many samples";
    }
  }
  if (named(cmd, {"gpmc", "utp", "eeprom", "xml", "cfg"}) && anyRowHas(argc, argv, '/'))
    return "file outside the target's directory";
  if (named(cmd, {"log"}) && hasWord(argc, argv, 1, {"on", "-ts"})) return "system log";
  return nullptr;
}

const char* boundsText() { return TEXT; }
