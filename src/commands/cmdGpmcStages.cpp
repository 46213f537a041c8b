// The gpmc command after its option scan: inversion, collection to a file,
// target lookup, write, read, continuous read, cycle timing, driver acquisition.
#include <cstring>

#include "diagDelay.h"
#include "cmdGpmcStages.h"
#include "gpmcDevBuf.h"
#include "gpmcDevCtl.h"
#include "gpmcDevMap.h"
#include "gpmcWordDump.h"
#include "kernel.h"
#include "keyInput.h"
#include "log.h"
#include "processEnd.h"
#include "termState.h"

GpmcDev* regDev(GpmcDevMap& fpga, const char* missingMsg) {
  GpmcDev* reg = fpga.find("reg");
  if (!reg) LOGERR(LOG_TERM, "%s\n", missingMsg);
  return reg;
}

namespace {
constexpr unsigned long BLOCK_WORDS = 256;
constexpr unsigned long BLOCK_BYTES = 0x200;
constexpr unsigned long OBUF_WORDS = 8192;
constexpr int FI_MAX_LINES = 8192;
constexpr unsigned WRITE_SETTLE_US = 50000;
constexpr unsigned FI_WRITE_US = 500;

struct Targets {
  GpmcDev* dev = nullptr;  // the -m target
  GpmcDev* reg = nullptr;  // "reg", for -t and -fr
};

GpmcDev* lookup(GpmcDevMap& fpga, const char* name) {
  GpmcDev* dev = fpga.find(name);
  if (!dev)
    LOGERR(LOG_TERM, "Device %s not found\r\n", name);
  return dev;
}

E_STATUS findTargets(GpmcDevMap& fpga, const GpmcArgs& a, Targets& t) {
  if (a.devName && !(t.dev = lookup(fpga, a.devName))) return FAILURE;
  if ((a.timeCycles || a.forceReset) && !(t.reg = lookup(fpga, "reg"))) return FAILURE;
  if ((a.doWrite || a.doRead || a.contRead) && !t.dev) {
    LOGERR(LOG_TERM, "no device selected for -w, -r or -rc; name one with -m\n");
    return FAILURE;
  }
  return a.forceReset ? GpmcDevCtl(*t.reg).GPMCFrcMeasReset() : SUCCESS;
}

// Reads one line of at most a line's worth of characters; the rest of a longer line is dropped.
bool readLine(FILE* f, char* line, int size) {
  if (!fgets(line, size, f)) return false;
  if (!strchr(line, '\n'))
    for (int c = fgetc(f); c != EOF && c != '\n'; c = fgetc(f)) {
    }
  return true;
}

E_STATUS writeFromFile(GpmcDev* dev, FILE* in, unsigned long offset) {
  char line[ARG_LEN];
  unsigned short word[1];  // a failed write shows this one word, and 0 for the rest
  unsigned long n;
  for (int i = 0; i < FI_MAX_LINES && readLine(in, line, sizeof line); ++i) {
    int v;
    if (sscanf(line, "%d", &v) != 1) {
      LOGERR(LOG_TERM, "line %d of the input file is not a number\n", i + 1);
      return BAD_PARAMETER;
    }
    word[0] = static_cast<unsigned short>(v);
    if (dev->write(word, offset + 2 * static_cast<unsigned long>(i), 1, &n) != SUCCESS) {
      LOGERR(LOG_TERM, "write failed\n");
      return FAILURE;
    }
    kernel().sleepUs(FI_WRITE_US);
  }
  return SUCCESS;
}

E_STATUS writeData(GpmcDev* dev, const GpmcArgs& a, unsigned long offset) {
  unsigned short buf[GPMC_XFER_WORDS] = {};
  buf[0] = static_cast<unsigned short>(a.data & 0xffff);
  buf[1] = static_cast<unsigned short>((a.data >> 16) & 0xffff);
  unsigned long n;
  E_STATUS status = SUCCESS;
  if (dev->getTarget() == FPGA_OUTPUT_BUFFER) {
    // The whole output buffer filled with the one word.
    for (unsigned long i = 0; i < OBUF_WORDS && status == SUCCESS; ++i) status = dev->write(buf, offset + 2 * i, 1, &n);
  } else {
    status = dev->write(buf, offset, a.nWr, &n);
  }
  kernel().sleepUs(WRITE_SETTLE_US);
  return status;
}

E_STATUS writeStage(GpmcDevMap& fpga, GpmcDev* dev, const GpmcArgs& a, GpmcFiles& files, unsigned long offset) {
  GpmcDev* reg = nullptr;
  bool obuf = dev->getTarget() == FPGA_OUTPUT_BUFFER;
  if (obuf) {
    if (!(reg = regDev(fpga, "reg device not found"))) return FAILURE;
    E_STATUS status = GpmcDevCtl(*reg).GPMCEnOBufWrites();
    if (status != SUCCESS) return status;
  }
  E_STATUS status = files.in ? writeFromFile(dev, files.in, offset) : writeData(dev, a, offset);
  if (obuf) {
    E_STATUS dis = GpmcDevCtl(*reg).GPMCDisOBufWrites();
    if (status == SUCCESS) status = dis;
  }
  return status;
}

E_STATUS readBlock(GpmcDev* dev, const GpmcArgs& a, GpmcFiles& files, unsigned long offset, unsigned long n) {
  unsigned short buf[BLOCK_WORDS];
  unsigned long got = 0;
  GpmcWordDump dump;
  GpmcWordSink toDump = nullptr;
  if (!a.silent) toDump = [&dump](unsigned long off, std::span<const unsigned short> words) { dump.add(off, words); };
  E_STATUS status = dev->read({buf, n}, offset, &got, toDump);
  if (!a.silent) dump.finish();
  if (status != SUCCESS || !files.out.isOpen() || a.dumpKind == GPMC_DUMP_CTF) return status;
  gpmcDumpBlock(files.out.stream(), a.dumpKind, buf, got, a.sincorr);
  return files.out.check();
}

E_STATUS readStage(GpmcDev* dev, const GpmcArgs& a, GpmcFiles& files, unsigned long offset) {
  if (!a.sincorr) log(LOG_TERM, "reading %s:\n", a.devName);
  E_STATUS status = SUCCESS;
  for (unsigned long left = a.nRd; left > 0 && status == SUCCESS; offset += BLOCK_BYTES) {
    unsigned long n = left < BLOCK_WORDS ? left : BLOCK_WORDS;
    status = readBlock(dev, a, files, offset, n);
    left -= n;
  }
  return status;
}

// True once q was typed, or the input has ended and nothing more can be typed.
bool quitTyped() {
  while (inputAvailable()) {
    char c;
    if (::read(STDIN_FILENO, &c, 1) != 1 || c == 'q') return true;
  }
  return false;
}

E_STATUS contReadStage(GpmcDev* dev, const GpmcArgs& a, GpmcFiles& files, unsigned long offset) {
  log(LOG_TERM, "continuously reading %s (type q to quit):\n", a.devName);
  nonblock(true);
  E_STATUS status = SUCCESS;
  for (; status == SUCCESS; offset += BLOCK_BYTES) {
    status = readBlock(dev, a, files, offset, BLOCK_WORDS);
    if (quitTyped() || interrupted()) break;
  }
  nonblock(false);
  return status;
}

E_STATUS timeCycles(GpmcDev* reg) {
  unsigned short first, second;
  E_STATUS status = reg->regRd(&first, GPMC_WF_CYC_CNT);
  if (status != SUCCESS) return status;
  diagDelay(1, 32);
  status = reg->regRd(&second, GPMC_WF_CYC_CNT);
  if (status != SUCCESS) return status;
  // A wrapped count is taken from 0xffff, one less than the true difference.
  int cycles = second >= first ? second - first : 0xffff - first + second;
  log(LOG_TERM, "transmitting approx. %d cycles per second\n", cycles);
  return SUCCESS;
}

E_STATUS invertStage(GpmcDevMap& fpga, const GpmcArgs& a) {
  GpmcDev* reg = lookup(fpga, "reg");
  if (!reg) return FAILURE;
  return GpmcDevCtl(*reg).GPMCInvertWFData(static_cast<int>(a.invChan) - 1, a.invFlag == 0);
}

E_STATUS collectToFile(GpmcDevMap& fpga, const GpmcArgs& a, GpmcFiles& files) {
  GpmcDev* ibuf = lookup(fpga, "ibuf");
  if (!ibuf) return FAILURE;
  E_STATUS status = GpmcDevBuf(*ibuf).rdOBufToFile(files.out.stream(), static_cast<int>(a.ctfSamples));
  return status == SUCCESS ? files.out.check() : status;
}

E_STATUS driverAcquisition(GpmcDevMap& fpga, const GpmcArgs& a) {
  GpmcDev* reg = lookup(fpga, "reg");
  if (!reg) return FAILURE;
  GpmcDevCtl ctl(*reg);
  if (a.caon) ctl.drvrContColl(true);
  if (a.caoff) ctl.drvrContColl(false);
  return SUCCESS;
}
}  // namespace

E_STATUS gpmcStages(GpmcDevMap& fpga, const GpmcArgs& a, GpmcFiles& files) {
  const unsigned long offset = a.offset;
  E_STATUS status = a.invert ? invertStage(fpga, a) : SUCCESS;
  if (status == SUCCESS && a.ctf) status = collectToFile(fpga, a, files);
  Targets t;
  if (status == SUCCESS) status = findTargets(fpga, a, t);
  if (status == SUCCESS && a.doWrite) status = writeStage(fpga, t.dev, a, files, offset);
  if (status == SUCCESS && a.doRead) status = readStage(t.dev, a, files, offset);
  if (status == SUCCESS && a.contRead) status = contReadStage(t.dev, a, files, offset);
  if (status == SUCCESS && a.timeCycles) status = timeCycles(t.reg);
  if (status == SUCCESS && (a.caon || a.caoff)) status = driverAcquisition(fpga, a);
  // What was dumped counts only once it is stored.
  E_STATUS closed = files.out.close();
  return status == SUCCESS ? closed : status;
}
