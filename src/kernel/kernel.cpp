#include "kernel.h"

#include <fcntl.h>

#include <algorithm>

namespace {
inline void bump(std::atomic<unsigned long>& c) { c.fetch_add(1, std::memory_order_relaxed); }
}  // namespace

int Kernel::open(const char* path, int flags) {
  bump(nOpen);
  return doOpen(path, flags);
}
int Kernel::close(int fd) {
  bump(nClose);
  return doClose(fd);
}
ssize_t Kernel::read(int fd, void* buf, size_t n) {
  bump(nRead);
  return doRead(fd, buf, n);
}
ssize_t Kernel::write(int fd, const void* buf, size_t n) {
  bump(nWrite);
  return doWrite(fd, buf, n);
}
int Kernel::ioctl(int fd, unsigned long request, void* arg) {
  bump(nIoctl);
  return doIoctl(fd, request, arg);
}
int Kernel::ioctlVal(int fd, unsigned long request, unsigned long value) {
  bump(nIoctl);
  return doIoctl(fd, request, reinterpret_cast<void*>(value));
}
void* Kernel::mmap(size_t len, int prot, int flags, int fd, off_t offset) {
  bump(nMmap);
  return doMmap(len, prot, flags, fd, offset);
}
int Kernel::munmap(void* addr, size_t len) { return doMunmap(addr, len); }

ssize_t Kernel::readFile(const char* path, char* buf, size_t size) {
  if (!buf || size == 0) return -1;
  int fd = open(path, O_RDONLY);
  ssize_t n = fd < 0 ? -1 : read(fd, buf, size - 1);
  if (fd >= 0) close(fd);
  buf[std::max<ssize_t>(n, 0)] = '\0';
  return n;
}

bool Kernel::canOpen(const char* path) {
  int fd = open(path, O_RDONLY);
  if (fd < 0) return false;
  close(fd);
  return true;
}

int Kernel::sleepUs(long long us) {
  nPausedUs += static_cast<unsigned long long>(us);
  return doSleepUs(us);
}
int Kernel::clockGet(clockid_t id, struct timespec* t) { return doClockGet(id, t); }
void Kernel::lockNote(bool take, const char* name, int err) { doLockNote(take, name, err); }

int Kernel::doSleepUs(long long us) {
  constexpr long long US_PER_S = 1000000;
  struct timespec t = {static_cast<time_t>(us / US_PER_S), static_cast<long>(us % US_PER_S) * 1000};
  return nanosleep(&t, nullptr);
}

int Kernel::doClockGet(clockid_t id, struct timespec* t) { return clock_gettime(id, t); }

Kernel::Counts Kernel::counts() const {
  return {nOpen.load(), nClose.load(), nRead.load(), nWrite.load(), nIoctl.load(), nMmap.load(), nPausedUs.load()};
}

void Kernel::resetCounts() {
  nOpen = nClose = nRead = nWrite = nIoctl = nMmap = 0;
  nPausedUs = 0;
}
