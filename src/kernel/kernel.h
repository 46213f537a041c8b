#pragma once
#include <sys/types.h>
#include <time.h>

#include <atomic>
#include <cstddef>
#include <string>

// The one door to the hardware: every call that reaches a device file, sysfs or
// the fixed system files goes through the Kernel in use. diag links the Linux
// kernel; diag-sim and the tests link the simulated instrument; diag-replay a
// kernel that answers from a recording. The program's pauses and clock reads
// pass the door too, so that a replay answers them as well: time on the
// instrument is part of what the program saw. With $DIAG_RECORD set, the door
// of diag and diag-sim writes down every request and its answer (see
// recordKernel.h).
class Kernel {
public:
  struct Counts {
    unsigned long open, close, read, write, ioctl, mmap;
    unsigned long long pausedUs;  // the pauses asked for, the hardware's own times: not a call the total counts
    unsigned long total() const { return open + close + read + write + ioctl + mmap; }
  };

  virtual ~Kernel() = default;

  int open(const char* path, int flags);
  int close(int fd);
  ssize_t read(int fd, void* buf, size_t n);
  ssize_t write(int fd, const void* buf, size_t n);
  // Requests whose argument is a pointer to a record.
  int ioctl(int fd, unsigned long request, void* arg);
  // Requests whose argument is a plain value (I2C_SLAVE_FORCE takes the address).
  int ioctlVal(int fd, unsigned long request, unsigned long value);
  void* mmap(size_t len, int prot, int flags, int fd, off_t offset);
  int munmap(void* addr, size_t len);

  // Reads up to size-1 bytes of a small system file (sysfs entry, revision file)
  // into buf and terminates it; returns the byte count or -1.
  ssize_t readFile(const char* path, char* buf, size_t size);
  // True when the path can be opened for reading.
  bool canOpen(const char* path);

  // Sleeps us microseconds: 0, or -1 with errno EINTR when a signal cut it short.
  int sleepUs(long long us);
  // The time of a clock (CLOCK_MONOTONIC, CLOCK_REALTIME): 0, or -1 with errno.
  int clockGet(clockid_t id, struct timespec* t);
  // A take (or give) of one of the named semaphores that order the processes'
  // use of the hardware, once done; err is its errno, 0 when it went through.
  // The semaphores are not behind the door (they work alike on every machine),
  // but they say in which order processes reached the hardware: a recording
  // notes them among the requests they guard. No other kernel does anything.
  void lockNote(bool take, const char* name, int err);

  Counts counts() const;
  void resetCounts();

protected:
  virtual int doOpen(const char* path, int flags) = 0;
  virtual int doClose(int fd) = 0;
  virtual ssize_t doRead(int fd, void* buf, size_t n) = 0;
  virtual ssize_t doWrite(int fd, const void* buf, size_t n) = 0;
  virtual int doIoctl(int fd, unsigned long request, void* arg) = 0;
  virtual void* doMmap(size_t len, int prot, int flags, int fd, off_t offset) = 0;
  virtual int doMunmap(void* addr, size_t len) = 0;
  // The machine's own time, on every kernel but a replay.
  virtual int doSleepUs(long long us);
  virtual int doClockGet(clockid_t id, struct timespec* t);
  virtual void doLockNote(bool take, const char* name, int err) {}

private:
  std::atomic<unsigned long> nOpen{0}, nClose{0}, nRead{0}, nWrite{0}, nIoctl{0}, nMmap{0};
  std::atomic<unsigned long long> nPausedUs{0};
};

// The kernel this program is linked with.
Kernel& kernel();
