#pragma once
#include "kernel.h"

// Forwards every call to libc and nothing else.
class LinuxKernel : public Kernel {
protected:
  int doOpen(const char* path, int flags) override;
  int doClose(int fd) override;
  ssize_t doRead(int fd, void* buf, size_t n) override;
  ssize_t doWrite(int fd, const void* buf, size_t n) override;
  int doIoctl(int fd, unsigned long request, void* arg) override;
  void* doMmap(size_t len, int prot, int flags, int fd, off_t offset) override;
  int doMunmap(void* addr, size_t len) override;
};
