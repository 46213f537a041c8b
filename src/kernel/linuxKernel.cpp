#include "linuxKernel.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

int LinuxKernel::doOpen(const char* path, int flags) { return ::open(path, flags); }
int LinuxKernel::doClose(int fd) { return ::close(fd); }
ssize_t LinuxKernel::doRead(int fd, void* buf, size_t n) { return ::read(fd, buf, n); }
ssize_t LinuxKernel::doWrite(int fd, const void* buf, size_t n) { return ::write(fd, buf, n); }
int LinuxKernel::doIoctl(int fd, unsigned long request, void* arg) { return ::ioctl(fd, request, arg); }
void* LinuxKernel::doMmap(size_t len, int prot, int flags, int fd, off_t offset) {
  return ::mmap(nullptr, len, prot, flags, fd, offset);
}
int LinuxKernel::doMunmap(void* addr, size_t len) { return ::munmap(addr, len); }
