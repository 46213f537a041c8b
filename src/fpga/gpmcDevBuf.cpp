#include "gpmcDevBuf.h"

#include <sys/mman.h>

#include <cerrno>

#include "log.h"

namespace {
constexpr int STABLE_ADDR_READS = 20;
}  // namespace

// Blocks of four input-buffer words taken at the A2D's sample address, once
// the address has settled (two equal reads in a row).
E_STATUS GpmcDevBuf::rdOBufToFile(FILE* f, int n) {
  const char* fn = __func__;
  auto rd = [this, fn](E_GPMC_FPGA_TGT tgt, unsigned long offset, unsigned* v) {
    if (port.xfer(GPMC_IOCTL_RD, tgt, offset, v) >= 0) return SUCCESS;
    int err = errno;
    LOGERR_FN(port.errFlags(), fn, "failed to read device %d(0x%02lx), byteCnt= %d\n", tgt + 1, offset, 0);
    logErrno(port.errFlags(), err);
    return FAILURE;
  };
  for (int block = 0; block < n; ++block) {
    unsigned prev = 0xffff, addr = 0;
    int tries = 0;
    for (; tries < STABLE_ADDR_READS; ++tries, prev = addr) {
      if (rd(FPGA_REG, GPMC_A2D_SMPL_WR_ADDR, &addr) != SUCCESS) return FAILURE;
      if (addr == prev) break;
    }
    if (tries == STABLE_ADDR_READS) {
      LOGERR(port.errFlags(), "timed out waiting for stable sample address\n");
      return TIMEOUT;
    }
    unsigned long offset = static_cast<unsigned long>(addr) * 4;
    unsigned word = 0;
    if (block == 0 && rd(FPGA_INPUT_BUFFER, offset, &word) != SUCCESS) return FAILURE;
    for (int k = 0; k < 4; ++k, offset += 2) {
      if (rd(FPGA_INPUT_BUFFER, offset, &word) != SUCCESS) return FAILURE;
      fprintf(f, "%04x\n", word & 0xffff);
    }
  }
  return SUCCESS;
}

E_STATUS GpmcDevBuf::GPMCPreventDriverOverflow() {
  if (port.drvWrite({0, GPMC_CMD_PREVENT_OVERFLOW, GPMC_DRIVER_BUF_VAL, 0}) < 0) {
    int err = errno;
    LOGERR(port.errFlags(), "driver write failed\n");
    logErrno(port.errFlags(), err);
    return FAILURE;
  }
  // The mapping is left in place for the driver's use.
  void* p = port.drvMap(GPMC_DRIVER_MAP_LEN);
  if (p == nullptr || p == MAP_FAILED) {
    int err = errno;
    LOGERR(port.errFlags(), "mmap() failed\n");
    logErrno(port.errFlags(), err);
    return FAILURE;
  }
  return SUCCESS;
}
