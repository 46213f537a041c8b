#pragma once
#include <mutex>
#include <string>

#include "kernel.h"
#include "lineSink.h"
#include "reqWords.h"

// A recording of the program at the door. With $DIAG_RECORD naming a file, the
// door of any build (diag on the instrument, diag-sim on the desk) is this
// kernel around the real one: every request passes on unchanged, and is
// written down with its answer, one line each, as it happens (see
// docs/record-replay.md for the file). A file that cannot be written is said
// once at the start, and the program runs on unrecorded.
//
// A process started by a recorded one (a background job, a script's program)
// inherits $DIAG_RECORD; it writes FILE.PID, so that each process's recording
// stays whole and replays on its own.
class RecordKernel : public Kernel {
public:
  explicit RecordKernel(Kernel& inner) : inner(inner) {}
  // Opens the file and writes the head: the command line, the version, the
  // start time and zone, the process. False (said on standard error) when it
  // cannot be written.
  bool start(const std::string& path, int argc, char** argv, const char* parent);
  // The last line, at the process's normal end.
  void finish();

protected:
  int doOpen(const char* path, int flags) override;
  int doClose(int fd) override;
  ssize_t doRead(int fd, void* buf, size_t n) override;
  ssize_t doWrite(int fd, const void* buf, size_t n) override;
  int doIoctl(int fd, unsigned long request, void* arg) override;
  void* doMmap(size_t len, int prot, int flags, int fd, off_t offset) override;
  int doMunmap(void* addr, size_t len) override;
  int doSleepUs(long long us) override;
  int doClockGet(clockid_t id, struct timespec* t) override;
  void doLockNote(bool take, const char* name, int err) override;

private:
  template <typename Result, typename Ask, typename Call, typename Answer>
  Result pass(Ask ask, Call call, Answer answer);
  // One line: the request's number, the seconds since the start (monotonic), its words.
  void put(const struct timespec& at, const std::string& line);
  static struct timespec now();

  Kernel& inner;
  ReqWords words;
  LineSink sink;
  std::mutex mutex;
  unsigned long count = 0;
  struct timespec startedAt = {0, 0};
};

// The door of diag and diag-sim: k itself, or a recording around it when
// $DIAG_RECORD names a file. Called once by the kernel's instance.
Kernel& recordedIfAsked(Kernel& k);
