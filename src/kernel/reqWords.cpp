#include "reqWords.h"

#include <linux/i2c-dev.h>
#include <linux/i2c.h>

#include <cstdio>
#include <cstring>

#include "kernelText.h"

namespace {
const char* const FPGA_DEVICE_PATH = "/dev/z9fpga0";
static_assert(sizeof(ReqWords::FpgaRecord) == 16, "the driver's record is four 32-bit fields");

std::string hex(const char* f, unsigned long v) {
  char buf[32];
  snprintf(buf, sizeof buf, f, v);
  return buf;
}

}  // namespace

const ReqWords::OpenFile* ReqWords::find(int fd) const {
  auto it = files.find(fd);
  return it == files.end() ? nullptr : &it->second;
}

void ReqWords::opened(int fd, const char* path) {
  if (fd < 0 || !path) return;
  OpenFile f{SYS_FILE, path, -1, 0};
  if (!strcmp(path, FPGA_DEVICE_PATH)) f.kind = FPGA_DEVICE;
  else if ((f.adapter = adapterOfPath(path)) >= 0) f.kind = I2C_ADAPTER;
  files[fd] = f;
}

void ReqWords::closed(int fd) { files.erase(fd); }

void ReqWords::ioctlDone(int fd, unsigned long request, const void* arg, int r) {
  auto it = files.find(fd);
  if (r < 0 || it == files.end() || it->second.kind != I2C_ADAPTER) return;
  if (request == I2C_SLAVE || request == I2C_SLAVE_FORCE) it->second.addr = static_cast<int>(reinterpret_cast<unsigned long>(arg));
}

bool ReqWords::isFpga(int fd) const {
  const OpenFile* f = find(fd);
  return f && f->kind == FPGA_DEVICE;
}

bool ReqWords::isSysFile(int fd) const {
  const OpenFile* f = find(fd);
  return f && f->kind == SYS_FILE;
}

int ReqWords::adapterOf(int fd) const {
  const OpenFile* f = find(fd);
  return f && f->kind == I2C_ADAPTER ? f->adapter : -1;
}

std::string ReqWords::open(const char* path, int flags) const { return openText(path, flags); }

std::string ReqWords::close(int fd) const { return "close fd " + std::to_string(fd); }

std::string ReqWords::read(int fd, size_t n) const {
  const OpenFile* f = find(fd);
  if (!f) return "read fd " + std::to_string(fd) + " " + std::to_string(n);
  switch (f->kind) {
    case I2C_ADAPTER: return i2cXferText(f->adapter, f->addr, true, nullptr, n);
    case FPGA_DEVICE: return "fpga read " + std::to_string(n) + " bytes";
    case SYS_FILE: break;
  }
  return sysReadText(f->path, n);
}

std::string ReqWords::write(int fd, const void* buf, size_t n) const {
  const OpenFile* f = find(fd);
  const uint8_t* b = static_cast<const uint8_t*>(buf);
  if (!f) return "write fd " + std::to_string(fd) + " " + std::to_string(n);
  switch (f->kind) {
    case I2C_ADAPTER: return i2cXferText(f->adapter, f->addr, false, b, buf ? n : 0);
    case FPGA_DEVICE: return fpgaDrvWriteText(buf, n);
    case SYS_FILE: break;
  }
  return "write " + quoted(f->path) + " " + quoted(buf ? std::string(static_cast<const char*>(buf), n) : "");
}

std::string ReqWords::i2cIoctl(const OpenFile& f, unsigned long request, const void* arg) const {
  unsigned long value = reinterpret_cast<unsigned long>(arg);
  switch (request) {
    case I2C_SLAVE:
    case I2C_SLAVE_FORCE: return i2cAddrText(f.adapter, request == I2C_SLAVE_FORCE, value);
    case I2C_FUNCS: return adapterText(f.adapter) + " funcs";
    case I2C_TIMEOUT: return adapterText(f.adapter) + " timeout " + std::to_string(value);
    case I2C_RETRIES: return adapterText(f.adapter) + " retries " + std::to_string(value);
    case I2C_SMBUS:
      if (!arg) return i2cText(f.adapter, f.addr) + " smbus";
      return smbusText(f.adapter, f.addr, *static_cast<const i2c_smbus_ioctl_data*>(arg));
    case I2C_RDWR:
      if (!arg) return adapterText(f.adapter) + " rdwr";
      return i2cRdwrText(f.adapter, *static_cast<const i2c_rdwr_ioctl_data*>(arg));
  }
  return adapterText(f.adapter) + hex(" ioctl 0x%lx", request);
}

std::string ReqWords::fpgaIoctl(unsigned long request, const void* arg) const {
  if (!arg) return hex("fpga ioctl 0x%lx", request);
  FpgaRecord c;
  memcpy(&c, arg, sizeof c);
  if (request == FPGA_RD || request == FPGA_WR) return fpgaWordText(request == FPGA_WR, c.devtype, c.offset, c.val);
  return hex("fpga ioctl 0x%lx", request) + " devtype " + std::to_string(c.devtype);
}

std::string ReqWords::ioctl(int fd, unsigned long request, const void* arg) const {
  const OpenFile* f = find(fd);
  if (!f) return "ioctl fd " + std::to_string(fd) + hex(" 0x%lx", request);
  switch (f->kind) {
    case I2C_ADAPTER: return i2cIoctl(*f, request, arg);
    case FPGA_DEVICE: return fpgaIoctl(request, arg);
    case SYS_FILE: break;
  }
  return "ioctl " + quoted(f->path) + hex(" 0x%lx", request);
}

std::string ReqWords::mmap(int fd, size_t len, off_t offset) const {
  if (isFpga(fd)) return fpgaMmapText(len, offset);
  return "mmap fd " + std::to_string(fd) + hex(" len 0x%lx", len) + (offset ? hex(" offset 0x%lx", offset) : "");
}

std::string ReqWords::sleep(long long us) { return "sleep " + std::to_string(us) + "us"; }

std::string ReqWords::clock(clockid_t id) {
  return id == CLOCK_MONOTONIC ? "clock monotonic" : id == CLOCK_REALTIME ? "clock realtime" : "clock " + std::to_string(id);
}

std::string ReqWords::lock(bool take, const char* name) {
  return std::string(take ? "lock take " : "lock give ") + quoted(name ? name : "");
}

std::string ReqWords::openAnswer(int fd, int err) { return fd < 0 ? errName(err) : "fd " + std::to_string(fd); }

std::string ReqWords::readAnswer(int fd, const void* buf, ssize_t r, int err) const {
  if (r < 0) return errName(err);
  if (isSysFile(fd)) return sysReadAnswer(static_cast<const char*>(buf), static_cast<size_t>(r));
  return hexBytes(static_cast<const uint8_t*>(buf), static_cast<size_t>(r));
}

std::string ReqWords::writeAnswer(size_t n, ssize_t r, int err) {
  if (r < 0) return errName(err);
  return static_cast<size_t>(r) == n ? "" : std::to_string(r);
}

std::string ReqWords::ioctlAnswer(int fd, unsigned long request, const void* arg, int r, int err) const {
  if (r < 0) return errName(err);
  std::string positive = r > 0 ? std::to_string(r) : "";
  const OpenFile* f = find(fd);
  if (!f || !arg) return positive;
  if (f->kind == FPGA_DEVICE && request == FPGA_RD) {
    FpgaRecord c;
    memcpy(&c, arg, sizeof c);
    return hex("0x%04lx", c.val);
  }
  if (f->kind != I2C_ADAPTER) return positive;
  switch (request) {
    case I2C_FUNCS: return hex("0x%lx", *static_cast<const unsigned long*>(arg));
    case I2C_SMBUS: return smbusAnswer(*static_cast<const i2c_smbus_ioctl_data*>(arg));
    case I2C_RDWR: return i2cRdwrAnswer(*static_cast<const i2c_rdwr_ioctl_data*>(arg));  // the count is nmsgs
  }
  return positive;
}

std::string ReqWords::failedOr(int r, int err) { return r < 0 ? errName(err) : ""; }

std::string ReqWords::clockAnswer(const struct timespec& t, int r, int err) {
  if (r < 0) return errName(err);
  char buf[48];
  snprintf(buf, sizeof buf, "%lld.%09ld", static_cast<long long>(t.tv_sec), static_cast<long>(t.tv_nsec));
  return buf;
}
