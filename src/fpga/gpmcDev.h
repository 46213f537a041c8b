#pragma once
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>

#include "diagStatus.h"
#include "gpmcRegs.h"
#include "programSem.h"

// The access targets of the board FPGA behind /dev/z9fpga0. The driver's
// device type of a target is the target plus one.
enum E_GPMC_FPGA_TGT {
  FPGA_INPUT_BUFFER = 0,
  FPGA_OUTPUT_BUFFER = 1,
  FPGA_FREQUENCY_GENERATOR = 2,
  FPGA_REG = 3,
  FPGA_OLEDREG_PSOCBUF = 4,
  FPGA_MAX_NUM_TGTS = 5
};

// The record the driver takes with every request: four 32-bit fields on every
// build, the pointer field a 32-bit slot that is always 0.
struct S_FPGA_CMD {
  int32_t devtype;
  int32_t offset;
  uint32_t val;
  uint32_t ptr;
};
static_assert(sizeof(S_FPGA_CMD) == 16, "S_FPGA_CMD is the driver's 16-byte record");
static_assert(offsetof(S_FPGA_CMD, devtype) == 0 && offsetof(S_FPGA_CMD, offset) == 4 &&
                  offsetof(S_FPGA_CMD, val) == 8 && offsetof(S_FPGA_CMD, ptr) == 12,
              "S_FPGA_CMD fields are consecutive 32-bit slots");

// The driver's ioctl requests.
enum E_GPMC_IOCTL : unsigned long {
  GPMC_IOCTL_RD = 0x11abc1,  // one word at offset into val
  GPMC_IOCTL_WR = 0x11abc2,  // the low 16 bits of val to offset
  GPMC_IOCTL_CONT_ACQ_START = 0x11abc6,
  GPMC_IOCTL_CONT_ACQ_STOP = 0x11abca
};
// The record written to the device before its acquisition buffer is mapped.
constexpr int32_t GPMC_CMD_PREVENT_OVERFLOW = 0x11abcb;
constexpr uint32_t GPMC_DRIVER_BUF_VAL = 0x100000;
constexpr size_t GPMC_DRIVER_MAP_LEN = 0x200000;

// Takes the words a read fetches, a block at a time as they arrive, and always
// before a failure is reported: the byte offset of the first, and the words.
using GpmcWordSink = std::function<void(unsigned long offset, std::span<const unsigned short> words)>;

// The most words a block transfer makes under one take of the GPMC semaphore:
// another process waits at most that many driver requests for its turn.
constexpr unsigned long GPMC_LOCK_WORDS = 256;

// The board FPGA's device file /dev/z9fpga0, which every port shares with the
// GPMC semaphore: opened at the first request (a command that does not reach
// the FPGA never opens it) and kept while the board lives. FPGA logging sends
// the ports' error reports to the system log too.
class GpmcDevice {
public:
  explicit GpmcDevice(ProgramSem& sem) : sem(sem) {}
  ~GpmcDevice();
  GpmcDevice(const GpmcDevice&) = delete;
  GpmcDevice& operator=(const GpmcDevice&) = delete;
  // The descriptor, opened at the first call; -1 when the open failed (said once).
  int fd() const;
  unsigned long errFlags() const;

  ProgramSem& sem;
  bool sysLoggingOn = false;

private:
  mutable std::optional<int> adapterFD;
};

// Holds the GPMC semaphore across a short run of words that belong together
// (a register read, changed and read back; a snapshot of the registers): taken
// once, each word inside taking it again without waiting or asking the kernel.
// Never held across a pause. Where the take fails, each word tries for itself.
class GpmcHold {
public:
  explicit GpmcHold(ProgramSem& sem) : sem(sem), taken(sem.take(true) == SUCCESS) {}
  ~GpmcHold() {
    if (taken) sem.give();
  }
  GpmcHold(const GpmcHold&) = delete;
  GpmcHold& operator=(const GpmcHold&) = delete;

private:
  ProgramSem& sem;
  bool taken;
};

// The word port of one access target of the board FPGA: every word of a
// register or a buffer goes through one. A register-space word is one driver
// request, made under the GPMC semaphore, which a block of words takes once
// (at most GPMC_LOCK_WORDS words a take); an output-buffer word is two
// requests without it, as the buffer answers a read with the word it fetched
// before.
class GpmcDev {
public:
  GpmcDev(GpmcDevice& device, E_GPMC_FPGA_TGT tgt) : device(device), target(tgt) {}
  E_GPMC_FPGA_TGT getTarget() const { return target; }

  // Reads buf.size() words from offset, offset + 2, ..., handing them to the
  // sink as they arrive; *nRead is the count read, after a failure too.
  E_STATUS read(std::span<unsigned short> buf, unsigned long offset, unsigned long* nRead,
                const GpmcWordSink& sink = nullptr);
  // Writes the first nWords words of buf (at most all of it). Register space
  // steps one byte per word, the output buffer two. A failed register write
  // shows the first four words of buf, and 0 for any beyond its end.
  E_STATUS write(std::span<const unsigned short> buf, unsigned long offset, unsigned long nWords,
                 unsigned long* nWritten);
  E_STATUS regRd(unsigned short* val, unsigned long offset);
  E_STATUS regWrWithRdBack(unsigned short val, unsigned long offset, bool rdBack);
  E_STATUS setResetBits(unsigned long regOffset, unsigned long bits, bool set);
  E_STATUS setField(unsigned long offset, unsigned char mask, unsigned char value);
  E_STATUS rdFPGARegs(S_GPMC_FPGA_REGS* regs);
  E_STATUS rdFPGARegs(S_GPMC_MH_FPGA_REGS* regs);

  // Driver requests outside the word loops, for the sample and acquisition
  // paths: no semaphore and no message; each returns what the driver returned.
  // xfer sends the record for the target it names (the driver takes any target
  // on its one descriptor), offset and value, and stores the value answered.
  int xfer(E_GPMC_IOCTL request, E_GPMC_FPGA_TGT tgt, unsigned long offset, unsigned* val) const;
  ssize_t drvWrite(const S_FPGA_CMD& cmd) const;
  void* drvMap(size_t len) const;

  // Flags for error reports: the terminal, and the system log while FPGA logging is on.
  unsigned long errFlags() const { return device.errFlags(); }

private:
  E_STATUS rdLoop(std::span<unsigned short> buf, unsigned long offset, unsigned long* nRead,
                  const GpmcWordSink& sink);
  E_STATUS wrLoop(std::span<const unsigned short> buf, unsigned long offset, unsigned long nWords,
                  unsigned long* nWritten);
  E_STATUS wrLoopForOBuf(std::span<const unsigned short> buf, unsigned long offset, unsigned long nWords,
                         unsigned long* nWritten);
  E_STATUS wrOBufLoc(unsigned long offset, unsigned short val);
  int oBufTwice(E_GPMC_IOCTL request, unsigned long offset, unsigned* val) const;
  bool lockBlock() const;
  int devType() const { return target + 1; }
  int adapter() const { return device.fd(); }

  GpmcDevice& device;
  E_GPMC_FPGA_TGT target;
};
