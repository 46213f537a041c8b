#include "simKernel.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "fpgaModel.h"
#include "kernelText.h"
#include "kernelFault.h"
#include "simStore.h"
#include "simTrace.h"
#include "sysfs.h"

namespace sim {

namespace {
constexpr size_t FPGA_MAP_LEN = 0x200000;

// The kernel's way of failing: -1 with errno set.
template <typename T>
T fail(int err, T bad) {
  errno = err;
  return bad;
}
}  // namespace

// An injected failure of a call on a device file (system files have none).
int SimKernel::deviceFault(SimState& s, const OpenFile& f, E_KOP op, unsigned long request, size_t* n) {
  if (f.kind != I2C && f.kind != FPGA) return 0;
  return kernelFault(s, op, f.kind == FPGA ? KDEV_FPGA : f.i2c.adapter, request, n);
}

SimKernel::OpenFile* SimKernel::lookup(int fd) {
  std::lock_guard<std::mutex> g(filesMutex);
  auto it = files.find(fd);
  return it == files.end() ? nullptr : &it->second;
}

// A simulated file's descriptor is a real one, held open on /dev/null until the file is closed: the lowest free
// number, as the kernel gives it, so that a program started with its standard input closed gets 0 for its
// first device, and a program that leaks descriptors runs out of them, as on the instrument.
int SimKernel::add(OpenFile f) {
  std::lock_guard<std::mutex> g(filesMutex);
  int fd = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
  if (fd >= 0) files.emplace(fd, std::move(f));
  return fd;
}

int SimKernel::doOpen(const char* path, int flags) {
  if (!path) return fail(EFAULT, -1);
  SimLock lk;
  SimState& s = lk.state();
  OpenFile f{SYSFILE, path, {-1, 0}, "", 0};
  int adapter = adapterOfPath(path);
  bool isDir = false;
  const std::string request = openText(path, flags);
  if (!strcmp(path, "/dev/z9fpga0")) {
    if (!fpgaPresent(s)) {
      traceLine(withAnswer(request, "ENOENT"));
      return fail(ENOENT, -1);
    }
    f.kind = FPGA;
    if (int e = kernelFault(s, KOP_OPEN, KDEV_FPGA, 0, nullptr)) return fail(-e, -1);
  } else if (adapter >= 0) {
    if (!i2cAdapterExists(s, adapter)) {
      traceLine(withAnswer(request, "ENOENT"));
      return fail(ENOENT, -1);
    }
    if (int e = kernelFault(s, KOP_OPEN, adapter, 0, nullptr)) return fail(-e, -1);
    f.kind = I2C;
    f.i2c = {adapter, 0};
  } else if (sysFileLookup(s, path, &f.content, &isDir)) {
    f.kind = isDir ? SYSDIR : SYSFILE;
    if (isDir && (flags & O_ACCMODE) != O_RDONLY) return fail(EISDIR, -1);
  } else {
    traceLine(withAnswer(request, "ENOENT"));
    return fail(ENOENT, -1);
  }
  int fd = add(std::move(f));
  if (fd < 0) {
    traceLine(withAnswer(request, "EMFILE"));
    return fail(EMFILE, -1);
  }
  traceLine(withAnswer(request, "fd " + std::to_string(fd)));
  return fd;
}

int SimKernel::doClose(int fd) {
  std::lock_guard<std::mutex> g(filesMutex);
  if (files.erase(fd) == 0) {  // not a simulated file's: a real descriptor of the process is never closed here
    trace("close fd %d -> EBADF", fd);
    return fail(EBADF, -1);
  }
  ::close(fd);
  trace("close fd %d", fd);
  return 0;
}

ssize_t SimKernel::doRead(int fd, void* buf, size_t n) {
  OpenFile* f = lookup(fd);
  if (!f) return fail(EBADF, ssize_t(-1));
  SimLock lk;
  if (int e = deviceFault(lk.state(), *f, KOP_READ, 0, &n)) return fail(-e, ssize_t(-1));
  ssize_t r;
  switch (f->kind) {
    case I2C: r = i2cRead(lk.state(), f->i2c, buf, n); break;
    case FPGA: r = fpgaRead(lk.state(), buf, n); break;
    case SYSDIR: r = -EISDIR; break;
    default: {
      if (int e = sysFileReadError(lk.state(), f->path)) {
        r = -e;
        break;
      }
      size_t left = f->content.size() - f->pos;
      size_t k = n < left ? n : left;
      memcpy(buf, f->content.data() + f->pos, k);
      f->pos += k;
      r = static_cast<ssize_t>(k);
    }
  }
  if (f->kind == SYSFILE || f->kind == SYSDIR)
    traceLine(withAnswer(sysReadText(f->path, n),
                         r < 0 ? errName(static_cast<int>(-r)) : sysReadAnswer(static_cast<const char*>(buf), r)));
  return r < 0 ? fail(static_cast<int>(-r), ssize_t(-1)) : r;
}

ssize_t SimKernel::doWrite(int fd, const void* buf, size_t n) {
  OpenFile* f = lookup(fd);
  if (!f) return fail(EBADF, ssize_t(-1));
  SimLock lk;
  if (int e = deviceFault(lk.state(), *f, KOP_WRITE, 0, &n)) return fail(-e, ssize_t(-1));
  ssize_t r;
  switch (f->kind) {
    case I2C: r = i2cWrite(lk.state(), f->i2c, buf, n); break;
    case FPGA: r = fpgaWrite(lk.state(), buf, n); break;
    default: r = -EBADF;  // system files are opened for reading
  }
  return r < 0 ? fail(static_cast<int>(-r), ssize_t(-1)) : r;
}

int SimKernel::doIoctl(int fd, unsigned long request, void* arg) {
  OpenFile* f = lookup(fd);
  if (!f) return fail(EBADF, -1);
  SimLock lk;
  if (int e = deviceFault(lk.state(), *f, KOP_IOCTL, request, nullptr)) return fail(-e, -1);
  int r;
  switch (f->kind) {
    case I2C: r = i2cIoctl(lk.state(), f->i2c, request, arg); break;
    case FPGA: r = fpgaIoctl(lk.state(), request, arg); break;
    default: r = -ENOTTY;
  }
  return r < 0 ? fail(-r, -1) : r;
}

void* SimKernel::doMmap(size_t len, int prot, int flags, int fd, off_t offset) {
  OpenFile* f = lookup(fd);
  if (!f) return fail(EBADF, MAP_FAILED);
  if (f->kind != FPGA || offset != 0 || len > FPGA_MAP_LEN) {
    trace("mmap fd %d len 0x%zx -> ENODEV", fd, len);
    return fail(ENODEV, MAP_FAILED);
  }
  {
    SimLock lk;
    if (int e = deviceFault(lk.state(), *f, KOP_MMAP, 0, nullptr)) return fail(-e, MAP_FAILED);
  }
  // The driver's acquisition buffer: memory of its own, as the driver gives it.
  void* p = ::mmap(nullptr, len, prot, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  traceLine(withAnswer(fpgaMmapText(len, offset), p == MAP_FAILED ? "ENOMEM" : ""));
  return p;
}

int SimKernel::doMunmap(void* addr, size_t len) { return ::munmap(addr, len); }

}  // namespace sim
