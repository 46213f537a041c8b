#include "gpmcDev.h"

#include <fcntl.h>
#include <sys/mman.h>

#include <cerrno>

#include "kernel.h"
#include "log.h"

namespace {
const char* const GPMC_ADAPTER = "/dev/z9fpga0";

struct ShRegAddr {
  unsigned short S_GPMC_FPGA_REGS::*field;
  unsigned long addr;
};
using R = S_GPMC_FPGA_REGS;
// Read order and addresses; lnSyncCurrPlsLim has no address and is not read.
const ShRegAddr shRegTable[] = {
    {&R::devId, 0x00}, {&R::rev, 0x02}, {&R::scr, 0x04}, {&R::clkSel, 0x06}, {&R::dds1Freq, 0x08},
    {&R::dds2Freq, 0x0a}, {&R::dds3PhaseNCtl, 0x0c}, {&R::a2dCtl, 0x0e}, {&R::a2dSmplWrAddr, 0x10},
    {&R::a2dStat, 0x12}, {&R::wfCtl, 0x14}, {&R::miscCtlStat, 0x16}, {&R::wfCycleLen, 0x18}, {&R::wfSmplCnt, 0x1a},
    {&R::wfCycCnt, 0x1c}, {&R::wfAmpLim, 0x1e}, {&R::wfAmpStepVal, 0x20}, {&R::wfAmpUpdateRate, 0x22},
    {&R::wfAmpCurVal, 0x24}, {&R::wfAmpManSetVal, 0x26}, {&R::wfAmpTmrSetVal, 0x28}, {&R::sysIdWd1, 0x2a},
    {&R::sysIdWd2, 0x2c}, {&R::sysIdWd3, 0x2e}, {&R::wfRampCtl, 0x30}, {&R::wfAmpSDVal, 0x32},
    {&R::SCLKFreqEstLSW, 0x34}, {&R::SCLKFreqEstMSW, 0x36}, {&R::wfOffsetReq, 0x38}, {&R::wfOffsetAct, 0x3a},
    {&R::wfHardLimit, 0x40}, {&R::PSOCNumbits, 0x42}, {&R::allOKStatCtl, 0x44}, {&R::notOKEvntAdr, 0x46},
    {&R::lnSyncCtlStat, 0x4a}, {&R::lnSyncPerHi, 0x4c}, {&R::lnSyncPerLo, 0x4e}, {&R::lnSyncSimPer, 0x50},
    {&R::mClkCtrStartVal, 0x56}, {&R::wClkCtrStartVal, 0x58}, {&R::lnSyncTrkrOSThresh, 0x5a},
    {&R::lnSyncCurrOS, 0x5c}, {&R::lnSyncCurrDlta, 0x5e}, {&R::lnSyncCorrPlsLim, 0x60},
    {&R::lnSyncCorrPlsStat, 0x62}};

using M = S_GPMC_MH_FPGA_REGS;
unsigned short M::*const mhRegTable[] = {&M::devId,    &M::rev,      &M::scr,      &M::miscCtl,      &M::miscStat,
                                               &M::sysIdWd1, &M::sysIdWd2, &M::sysIdWd3, &M::allOKStatCtl, &M::notOKEvntAdr};
}  // namespace

unsigned long GpmcDevice::errFlags() const { return sysLoggingOn ? LOG_TERM | LOG_SYS : LOG_TERM; }

int GpmcDevice::fd() const {
  if (adapterFD) return *adapterFD;
  adapterFD = kernel().open(GPMC_ADAPTER, O_RDWR);
  if (*adapterFD < 0) {
    int err = errno;
    LOGERR(errFlags(), "failed to open GPMC adapter %s\n", GPMC_ADAPTER);
    logErrno(errFlags(), err);
  }
  return *adapterFD;
}

GpmcDevice::~GpmcDevice() {
  if (adapterFD && *adapterFD >= 0) kernel().close(*adapterFD);
}

int GpmcDev::xfer(E_GPMC_IOCTL request, E_GPMC_FPGA_TGT tgt, unsigned long offset, unsigned* val) const {
  S_FPGA_CMD cmd = {tgt + 1, static_cast<int32_t>(offset), val ? *val : 0u, 0u};
  int r = kernel().ioctl(adapter(), request, &cmd);
  if (r >= 0 && val) *val = cmd.val;
  return r;
}

ssize_t GpmcDev::drvWrite(const S_FPGA_CMD& cmd) const { return kernel().write(adapter(), &cmd, sizeof cmd); }

void* GpmcDev::drvMap(size_t len) const {
  return kernel().mmap(len, PROT_READ | PROT_WRITE, MAP_SHARED, adapter(), 0);
}

// Taken for a block of words rather than for each: errno EINTR when the
// operator interrupted the wait, else ENOLCK.
bool GpmcDev::lockBlock() const {
  if (device.sem.take(true) == SUCCESS) return true;
  if (errno != EINTR) errno = ENOLCK;
  return false;
}

E_STATUS GpmcDev::read(std::span<unsigned short> buf, unsigned long offset, unsigned long* nRead,
                       const GpmcWordSink& sink) {
  return rdLoop(buf, offset, nRead, sink);
}

// Register words are read a block at a time under the semaphore; the output
// buffer without it, each location twice. The words of a block are handed on
// after the block, and before the report of a failure inside it.
E_STATUS GpmcDev::rdLoop(std::span<unsigned short> buf, unsigned long offset, unsigned long* nRead,
                         const GpmcWordSink& sink) {
  const bool obuf = target == FPGA_OUTPUT_BUFFER;
  E_STATUS status = SUCCESS;
  unsigned long i = 0;
  while (i < buf.size() && status == SUCCESS) {
    const unsigned long first = i;
    const unsigned long end = std::min<unsigned long>(buf.size(), i + GPMC_LOCK_WORDS);
    const bool locked = !obuf && lockBlock();
    int err = obuf || locked ? 0 : errno;
    for (; !err && i < end; ++i) {
      unsigned v = 0;
      if ((obuf ? oBufTwice(GPMC_IOCTL_RD, offset + 2 * i, &v) : xfer(GPMC_IOCTL_RD, target, offset + 2 * i, &v)) < 0) {
        err = errno;
        break;
      }
      buf[i] = static_cast<unsigned short>(v);
    }
    if (locked) device.sem.give();
    if (sink && i > first) sink(offset + 2 * first, buf.subspan(first, i - first));
    if (err) {
      LOGERR_FN(errFlags(), obuf ? "oBufRd" : "rdLoop", "failed to read device %d(0x%02lx), byteCnt= %lu\n", devType(),
                offset + 2 * i, i);
      logErrno(errFlags(), err);
      status = FAILURE;
    }
  }
  if (nRead) *nRead = i;
  return status;
}

E_STATUS GpmcDev::write(std::span<const unsigned short> buf, unsigned long offset, unsigned long nWords,
                        unsigned long* nWritten) {
  if (nWords > buf.size()) nWords = buf.size();
  if (target == FPGA_OUTPUT_BUFFER) return wrLoopForOBuf(buf, offset, nWords, nWritten);
  return wrLoop(buf, offset, nWords, nWritten);
}

E_STATUS GpmcDev::wrLoop(std::span<const unsigned short> buf, unsigned long offset, unsigned long nWords,
                         unsigned long* nWritten) {
  // The report shows the caller's first four words, whatever the count.
  auto shown = [buf](size_t k) -> unsigned { return k < buf.size() ? buf[k] : 0; };
  E_STATUS status = SUCCESS;
  unsigned long i = 0;
  // One byte per word: multi-word writes to register space step by one.
  while (i < nWords && status == SUCCESS) {
    const unsigned long end = std::min(nWords, i + GPMC_LOCK_WORDS);
    const bool locked = lockBlock();
    int err = locked ? 0 : errno;
    for (; !err && i < end; ++i) {
      unsigned val = buf[i];
      if (xfer(GPMC_IOCTL_WR, target, offset + i, &val) < 0) {
        err = errno;
        break;
      }
    }
    if (locked) device.sem.give();
    if (err) {
      LOGERR(errFlags(), "failed to write device %d(0x%02lx), buf[0]= 0x%04x, buf[1]= 0x%04x, buf[2]= 0x%04x, buf[3]= 0x%04x\n",
             devType(), offset + i, shown(0), shown(1), shown(2), shown(3));
      logErrno(errFlags(), err);
      status = FAILURE;
    }
  }
  if (nWritten) *nWritten = i;
  return status;
}

// The output buffer answers a read with the word its previous read fetched:
// each location is accessed twice, and of a read the second answer kept.
int GpmcDev::oBufTwice(E_GPMC_IOCTL request, unsigned long offset, unsigned* val) const {
  for (int k = 0; k < 2; ++k)
    if (xfer(request, FPGA_OUTPUT_BUFFER, offset, val) < 0) return -1;
  return 0;
}

E_STATUS GpmcDev::wrOBufLoc(unsigned long offset, unsigned short val) {
  unsigned v = val;
  if (oBufTwice(GPMC_IOCTL_WR, offset, &v) < 0) {
    int err = errno;
    LOGERR(errFlags(), "failed to write device %d(0x%02lx), datum= 0x%04x\n", devType(), offset, val);
    logErrno(errFlags(), err);
    return FAILURE;
  }
  return SUCCESS;
}

E_STATUS GpmcDev::wrLoopForOBuf(std::span<const unsigned short> buf, unsigned long offset, unsigned long nWords,
                                unsigned long* nWritten) {
  E_STATUS status = SUCCESS;
  unsigned long i = 0;
  for (; i < nWords; ++i) {
    status = wrOBufLoc(offset + 2 * i, buf[i]);
    if (status != SUCCESS) break;
  }
  if (nWritten) *nWritten = i;
  return status;
}

E_STATUS GpmcDev::regRd(unsigned short* val, unsigned long offset) {
  unsigned long n;
  return read({val, 1}, offset, &n);
}

E_STATUS GpmcDev::regWrWithRdBack(unsigned short val, unsigned long offset, bool rdBack) {
  GpmcHold hold(device.sem);
  unsigned long n;
  E_STATUS status = write({&val, 1}, offset, 1, &n);
  if (status != SUCCESS || !rdBack) return status;
  unsigned short back;
  status = regRd(&back, offset);
  if (status != SUCCESS) return status;
  return back == val ? SUCCESS : FAILURE;
}
E_STATUS GpmcDev::setResetBits(unsigned long regOffset, unsigned long bits, bool set) {
  GpmcHold hold(device.sem);
  unsigned short v;
  if (regRd(&v, regOffset) != SUCCESS) {
    LOGERR(errFlags(), "failed to read FPGA\n");
    return FAILURE;
  }
  v = static_cast<unsigned short>(set ? v | bits : v & ~bits);
  if (regWrWithRdBack(v, regOffset, false) != SUCCESS) {
    LOGERR(errFlags(), "failed to write FPGA\n");
    return FAILURE;
  }
  if (regRd(&v, regOffset) != SUCCESS) {
    LOGERR(errFlags(), "failed to read FPGA\n");
    return FAILURE;
  }
  unsigned long expected = set ? bits : 0;
  if ((v & bits) != expected) {
    LOGERR(errFlags(), "bits read back not as expected, bits= 0x%04lx act= 0x%04x\n", bits, v);
    return FAILURE;
  }
  return SUCCESS;
}

E_STATUS GpmcDev::setField(unsigned long offset, unsigned char mask, unsigned char value) {
  GpmcHold hold(device.sem);
  unsigned short v;
  if (regRd(&v, offset) != SUCCESS) {
    LOGERR(errFlags(), "failed to read FPGA\n");
    return FAILURE;
  }
  v = static_cast<unsigned short>((v & ~mask) | value);
  return regWrWithRdBack(v, offset, true);
}

E_STATUS GpmcDev::rdFPGARegs(S_GPMC_FPGA_REGS* regs) {
  GpmcHold hold(device.sem);
  for (const ShRegAddr& r : shRegTable) {
    E_STATUS status = regRd(&(regs->*r.field), r.addr);
    if (status != SUCCESS) return status;
  }
  return SUCCESS;
}

E_STATUS GpmcDev::rdFPGARegs(S_GPMC_MH_FPGA_REGS* regs) {
  GpmcHold hold(device.sem);
  unsigned long addr = 0;
  for (auto field : mhRegTable) {
    E_STATUS status = regRd(&(regs->*field), addr);
    if (status != SUCCESS) return status;
    addr += 2;
  }
  return SUCCESS;
}
