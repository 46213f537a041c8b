#pragma once
#include <map>
#include <mutex>
#include <string>

#include "i2cModel.h"
#include "kernelFaultState.h"
#include "kernel.h"

namespace sim {
struct SimState;

// The kernel of the simulated instrument: device files, sysfs and the fixed
// system files are answered by the models in the shared state.
class SimKernel : public Kernel {
protected:
  int doOpen(const char* path, int flags) override;
  int doClose(int fd) override;
  ssize_t doRead(int fd, void* buf, size_t n) override;
  ssize_t doWrite(int fd, const void* buf, size_t n) override;
  int doIoctl(int fd, unsigned long request, void* arg) override;
  void* doMmap(size_t len, int prot, int flags, int fd, off_t offset) override;
  int doMunmap(void* addr, size_t len) override;

private:
  enum Kind { I2C, FPGA, SYSFILE, SYSDIR };
  struct OpenFile {
    Kind kind;
    std::string path;
    I2cHandle i2c;
    std::string content;
    size_t pos;
  };
  // Descriptors of the simulated files, each a real descriptor of the process held open for it (see add).
  std::map<int, OpenFile> files;
  std::mutex filesMutex;

  OpenFile* lookup(int fd);
  static int deviceFault(SimState& s, const OpenFile& f, E_KOP op, unsigned long request, size_t* n);
  int add(OpenFile f);
};

}  // namespace sim
