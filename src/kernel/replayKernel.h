#pragma once
#include <mutex>
#include <string>

#include "kernel.h"
#include "recording.h"
#include "reqWords.h"

// The door of diag-replay: every request is answered from a recording
// (recordKernel.h), in order, without any hardware. Each request must be the
// one the recording holds next: the first that differs (another path, another
// address, other bytes written, or one more or one less than recorded) stops
// the replay with one line on standard error,
//   diag-replay: request 12 differs: recorded "...", asked "..."
// and exit status 3. Pauses return at once, unless the replay runs in real
// time; clock reads give the recorded times.
//
// The named semaphores are taken for real, as on any machine: the recording's
// lock lines are checked like requests, for their order and their outcome.
class ReplayKernel : public Kernel {
public:
  static constexpr int DIFFERS = 3;

  // Reads the recording; false, with why, when it is not one.
  bool load(const std::string& path, bool realTime, std::string* why);
  const Recording& recording() const { return rec; }
  // "" when this build is the version that recorded; else a line saying both.
  std::string versionNote() const;
  // At the program's end: a request recorded beyond the last one asked is a difference too.
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
  // The next recorded line, which must ask what is asked; else the replay stops.
  const RecLine& expect(const std::string& asked);
  [[noreturn]] void stop(const std::string& recorded, const std::string& asked);
  [[noreturn]] void unreadable(const RecLine& l);
  // True (errno set) when the recorded answer is a failure.
  static bool failed(const RecLine& l);
  int ioctlAnswer(const RecLine& l, int fd, unsigned long request, void* arg);

  Recording rec;
  std::string path;
  size_t next = 0;
  bool realTime = false;
  ReqWords words;
  std::recursive_mutex mutex;
};

// The replay kernel of diag-replay (the same object as kernel()).
ReplayKernel& replayKernel();
