#pragma once
#include <sys/types.h>
#include <time.h>

#include <cstdint>
#include <map>
#include <string>

// The words of each request at the door and of its answer (kernelText.h), as a
// recording writes them and a replay reads them. A request on a descriptor is
// named by what the descriptor stands for: "i2c-2 0x52 ..." on an adapter (with
// the client address last set on it), "fpga ..." on the FPGA's device, the path
// for a system file. So this keeps what each open descriptor is.
class ReqWords {
public:
  // The FPGA driver's word requests, each with its 16-byte record.
  static constexpr unsigned long FPGA_RD = 0x11abc1, FPGA_WR = 0x11abc2;
  struct FpgaRecord {
    int32_t devtype;
    int32_t offset;
    uint32_t val;
    uint32_t ptr;
  };

  // Requests. ioctl and write read their argument as the program passed it in.
  std::string open(const char* path, int flags) const;
  std::string close(int fd) const;
  std::string read(int fd, size_t n) const;
  std::string write(int fd, const void* buf, size_t n) const;
  std::string ioctl(int fd, unsigned long request, const void* arg) const;
  std::string mmap(int fd, size_t len, off_t offset) const;
  static std::string sleep(long long us);
  static std::string clock(clockid_t id);
  static std::string lock(bool take, const char* name);

  // Answers of requests that went through (r >= 0) or failed with err; "" when
  // the line shows none (a write of all its bytes, an ioctl that only takes).
  static std::string openAnswer(int fd, int err);
  std::string readAnswer(int fd, const void* buf, ssize_t r, int err) const;
  static std::string writeAnswer(size_t n, ssize_t r, int err);
  std::string ioctlAnswer(int fd, unsigned long request, const void* arg, int r, int err) const;
  static std::string failedOr(int r, int err);  // close, mmap, sleep
  static std::string clockAnswer(const struct timespec& t, int r, int err);

  // What a request that went through changed: a descriptor opened or closed,
  // a client address set.
  void opened(int fd, const char* path);
  void closed(int fd);
  void ioctlDone(int fd, unsigned long request, const void* arg, int r);

  // Whether a descriptor is the FPGA's, or a system file's (read as text).
  bool isFpga(int fd) const;
  bool isSysFile(int fd) const;
  // The adapter number of an I2C descriptor; -1 for another.
  int adapterOf(int fd) const;

private:
  enum Kind { SYS_FILE, I2C_ADAPTER, FPGA_DEVICE };
  struct OpenFile {
    Kind kind;
    std::string path;
    int adapter;
    int addr;
  };
  const OpenFile* find(int fd) const;
  std::string i2cIoctl(const OpenFile& f, unsigned long request, const void* arg) const;
  std::string fpgaIoctl(unsigned long request, const void* arg) const;

  std::map<int, OpenFile> files;
};
