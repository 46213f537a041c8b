#pragma once
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/i2c-dev.h>

#include <algorithm>
#include <string>
#include <vector>

#include "i2cModel.h"
#include "i2cSmbus.h"
#include "kernel.h"
#include "simStore.h"
#include "testEnv.h"

// An open adapter of the simulated instrument, through the kernel seam, as
// the program sees it.
struct Bus {
  int fd;
  explicit Bus(int adapter = 2) : fd(kernel().open(("/dev/i2c-" + std::to_string(adapter)).c_str(), O_RDWR)) {}
  ~Bus() { if (fd >= 0) kernel().close(fd); }
  bool to(int addr) { return kernel().ioctlVal(fd, I2C_SLAVE_FORCE, static_cast<unsigned long>(addr)) == 0; }
  bool put(const std::vector<unsigned char>& bytes) {
    return kernel().write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
  }
  std::vector<unsigned char> get(size_t n) {
    std::vector<unsigned char> b(n);
    ssize_t r = kernel().read(fd, b.data(), n);
    b.resize(r < 0 ? 0 : static_cast<size_t>(r));
    return b;
  }
  // Selects channels of a switch (or writes an old mux's control byte).
  bool select(int swAddr, unsigned char control) { return to(swAddr) && put({control}); }
};

// The I2C chips' share of the all-okay line, now.
inline bool sourcesOkay() {
  sim::SimLock lk;
  return sim::i2cSourcesOkay(lk.state());
}

// The writes on adapter 2 that t has seen, each as "0xNN write XX ", those of
// a combined transfer ("i2c-2 rdwr 0x71 write 08 ; 0x71 read 1 -> 08") too.
inline std::string busWrites(const Trace& t) {
  std::string writes;
  for (const std::string& l : t.grep("i2c-2 ", " write ")) {
    std::string msgs = l.rfind("i2c-2 rdwr ", 0) == 0 ? l.substr(11, l.find(" -> ") - 11) : l.substr(6);
    for (size_t start = 0, end; start < msgs.size(); start = end + 3) {
      end = std::min(msgs.find(" ; ", start), msgs.size());
      std::string m = msgs.substr(start, end - start);
      if (m.find(" write ") != std::string::npos) writes += m + " ";
    }
  }
  return writes;
}

// The front-panel FPGA's registers 0x20-0x23 hold a block: its count 3, then "abc".
inline void plantBlock() {
  for (auto [reg, v] : {std::pair{"0x20", "3"}, {"0x21", "0x61"}, {"0x22", "0x62"}, {"0x23", "0x63"}})
    simctl({"i2c", "poke", "fpfpga", reg, v});
}

// Each test starts from a freshly powered-on instrument with the default configuration.
using I2cTest = FreshSim;
