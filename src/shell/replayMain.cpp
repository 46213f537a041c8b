// diag-replay: runs the command line of a recording (recordKernel.h) with every
// request to the kernel answered from it, so that the desk sees what the
// program saw on the instrument: the same output, the same exit status.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "replayKernel.h"

// diag's own main (main.cpp, compiled under this name for this program).
int diagMain(int argc, char** argv);

namespace {
constexpr int UNREADABLE = 4;

const char* const USAGE =
    "usage: diag-replay [--real-time] FILE\n"
    "\n"
    "Runs the command line recorded in FILE (written by diag or diag-sim with DIAG_RECORD=FILE) with every\n"
    "request to the kernel answered from the recording: the output and the exit status are the recorded\n"
    "run's. Standard input is this one's. The first request that differs from the recording stops the replay\n"
    "with one line naming it (exit status 3); a file that is not a recording gives exit status 4.\n"
    "\n"
    "  --real-time  pause as long as the recorded run paused (by default pauses take no time)\n"
    "  --help       this text\n";

// The zone the recorded run showed its times in: the same hours, whatever the zone here. "+0100" is
// one hour east of UTC, which POSIX's TZ writes as "<+0100>-01:00".
void useZone(const std::string& zone) {
  if (zone.size() != 5 || (zone[0] != '+' && zone[0] != '-')) return;
  std::string tz = "<" + zone + ">" + (zone[0] == '+' ? "-" : "+") + zone.substr(1, 2) + ":" + zone.substr(3, 2);
  setenv("TZ", tz.c_str(), 1);
  tzset();
}
}  // namespace

int main(int argc, char** argv) {
  bool realTime = false;
  const char* file = nullptr;
  for (int i = 1; i < argc; ++i) {
    if (!strcmp(argv[i], "--help")) {
      fputs(USAGE, stdout);
      return 0;
    }
    if (!strcmp(argv[i], "--real-time")) {
      realTime = true;
    } else if (!file && strncmp(argv[i], "--", 2) != 0) {
      file = argv[i];
    } else {
      fprintf(stderr, "diag-replay: %s is not understood (--help tells the usage)\n", argv[i]);
      return 2;
    }
  }
  if (!file) {
    fputs(USAGE, stderr);
    return 2;
  }
  ReplayKernel& k = replayKernel();
  std::string why;
  if (!k.load(file, realTime, &why)) {
    fprintf(stderr, "diag-replay: %s\n", why.c_str());
    return UNREADABLE;
  }
  const Recording& rec = k.recording();
  std::string note = k.versionNote();
  if (!note.empty()) fprintf(stderr, "diag-replay: %s\n", note.c_str());
  unsetenv("DIAG_EXIT_STATUS");
  for (const auto& [name, value] : rec.env) setenv(name.c_str(), value.c_str(), 1);
  useZone(rec.zone());
  std::vector<std::string> args = rec.args;
  std::vector<char*> words;
  for (std::string& a : args) words.push_back(a.data());
  words.push_back(nullptr);
  int status = diagMain(static_cast<int>(args.size()), words.data());
  k.finish();
  return status;
}
