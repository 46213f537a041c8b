// The gpmc command: the operator's view of the FPGA's access targets.
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "cmdDelay.h"
#include "commands.h"
#include "gpmcDevMap.h"
#include "cmdGpmc.h"
#include "log.h"
#include "terminal.h"

namespace {
constexpr size_t FILE_NAME_MAX = 60;
constexpr unsigned long DEFAULT_COL_SAMPLES = 256;
constexpr unsigned long MAX_COL_SAMPLES = 0xfffe;  // the 16-bit sample address must be able to pass it

const char* const usageLines[] = {
    "-l - list device names (for -m) from table",
    "-m <device_name>",
    "-w <num_words> - write num_words (1-4) to device",
    "-r <num_words> - read num_words from device",
    "-d <32bit_data_to_write> - the (up to) 4 words for -w",
    "-o <offset_in_bytes> - even numbers 0, 2, 4, etc.",
    "-f <file_name> - dump read data (ascii-decimal) to named file",
    "-fi <file_name> - input file",
    "-fb <file_name> - dump read data (binary) to named file",
    "-fh <file_name> - dump read data (ascii-hex) to named file",
    "-fs1 <file_name> - dump chan1 sin data (decimal) to named file",
    "-s silent",
    "-t - time cycles to determine transmit frequency",
    "-fmr - force measurement boards reset",
    "-col [num_samples] - collect num_samples (default = 256) samples",
    "-caon - driver style continuous acquistion start",
    "-caoff - driver style continuous acquistion stop",
    "-si - display sync information",
    "-scf - if outputting ibuf data, use sincorr format",
    "-inv <0-invert,1-uninvert> <1-chan1|2-chan2> - invert/un-invert specified channel's signal data",
    "-ctf <file_name> <num_samples> - collects data to file"};

void usage() {
  for (const char* line : usageLines) log(LOG_TERM, "%s\n", line);
}

GpmcDev* regDev(const char* missingMsg) {
  GpmcDev* reg = GpmcDevMap::find("reg");
  if (!reg) LOGERR(LOG_TERM, "%s\n", missingMsg);
  return reg;
}

E_STATUS forceMeasBoardsReset() {
  GpmcDev* reg = regDev("reg device not found");
  if (!reg) return FAILURE;
  E_STATUS status = reg->GPMCFrcMeasReset();
  if (status != SUCCESS) LOGERR(LOG_TERM, "GPMCFrcMeasReset() failed\n");
  return status;
}

E_STATUS oneShotCollection(int argc, const char* countText) {
  if (argc != 2 && argc != 3) {
    LOGERR(LOG_TERM, "wrong number of arguments\n");
    return WRONG_NUM_ARGS;
  }
  unsigned long n = DEFAULT_COL_SAMPLES;
  if (countText && !gpmcParseNum(countText, &n)) return gpmcBadNumber("-col", countText);
  if (n > MAX_COL_SAMPLES) {
    LOGERR(LOG_TERM, "-col: %lu samples is more than the collection can count (%lu)\n", n, MAX_COL_SAMPLES);
    return BAD_PARAMETER;
  }
  GpmcDev* reg = regDev("reg device not found");
  if (!reg) return FAILURE;
  int waited = 0;
  E_STATUS status = reg->GPMCEnOSDataCollNWait4Dn(n, &waited);
  if (status == TIMEOUT)
    LOGERR(LOG_TERM, "GPMCEnOSDataCollNWait4Dn() timed out\n");
  else if (status != SUCCESS)
    LOGERR(LOG_TERM, "GPMCEnOSDataCollNWait4Dn() failed, returned %d\n", status);
  return status;
}

E_STATUS syncInfo() {
  GpmcDev* reg = regDev("Device reg not found");
  if (!reg) return FAILURE;
  unsigned short v;
  E_STATUS status = reg->regRd(&v, GPMC_CLK_SEL);
  if (status != SUCCESS) return status;
  log(LOG_TERM, (v & CLK_SEL_EXT_MCLK) ? "using external MCLK from other signal host\n"
                                       : "using internal MCLK (not from other signal host)\n");
  return SUCCESS;
}

// Scans the options left to right; -fmr, -col and -si act when met, -h at once.
class Scanner {
public:
  Scanner(int argc, char (*argv)[ARG_LEN], GpmcArgs& a) : argc(argc), argv(argv), a(a) {}
  E_STATUS run(bool* done);

private:
  E_STATUS option(const char* w, bool* done);
  // The next argument as an option's value; null (and a message) when there is none.
  const char* value(const char* opt) {
    if (i + 1 < argc) return argv[++i];
    LOGERR(LOG_TERM, "%s needs a value\n", opt);
    return nullptr;
  }
  // An optional value: present unless the line ends or an option follows.
  const char* optional() { return i + 1 < argc && argv[i + 1][0] != '-' && argv[i + 1][0] ? argv[++i] : nullptr; }
  E_STATUS number(const char* opt, const char* text, unsigned long* v) {
    if (!text) return BAD_PARAMETER;
    return gpmcParseNum(text, v) ? SUCCESS : gpmcBadNumber(opt, text);
  }
  // -w and -r: the option asks for the transfer, its count is optional.
  E_STATUS transfer(const char* opt, bool* asked, unsigned long* count) {
    *asked = true;
    const char* text = optional();
    return text ? number(opt, text, count) : SUCCESS;
  }
  E_STATUS file(const char* opt, E_GPMC_DUMP kind) {
    a.outName = value(opt);
    a.dumpKind = kind;
    return a.outName ? SUCCESS : BAD_PARAMETER;
  }

  int argc;
  char (*argv)[ARG_LEN];
  GpmcArgs& a;
  int i = 1;
};

E_STATUS Scanner::run(bool* done) {
  for (; i < argc && !*done; ++i) {
    E_STATUS status = option(argv[i], done);
    if (status != SUCCESS) return status;
  }
  if (a.nWr > GPMC_XFER_WORDS) {
    LOGERR(LOG_TERM, "-w: %lu words do not fit the transfer buffer of %lu words\n", a.nWr, GPMC_XFER_WORDS);
    return BAD_PARAMETER;
  }
  return SUCCESS;
}

E_STATUS Scanner::option(const char* w, bool* done) {
  std::string o = w;
  if (o == "-l") a.list = true;
  else if (o == "-m") return (a.devName = value(w)) ? SUCCESS : BAD_PARAMETER;
  else if (o == "-w") return transfer(w, &a.doWrite, &a.nWr);
  else if (o == "-r") return transfer(w, &a.doRead, &a.nRd);
  else if (o == "-d") return number(w, value(w), &a.data);
  else if (o == "-o") return (a.offsetText = value(w)) ? SUCCESS : BAD_PARAMETER;
  else if (o == "-f") return file(w, GPMC_DUMP_DEC);
  else if (o == "-fb") return file(w, GPMC_DUMP_BIN);
  else if (o == "-fh") return file(w, GPMC_DUMP_HEX);
  else if (o == "-fs1") return file(w, GPMC_DUMP_SINE1);
  else if (o == "-fi") return (a.inName = value(w)) ? SUCCESS : BAD_PARAMETER;
  else if (o == "-s") a.silent = true;
  else if (o == "-t") a.timeCycles = true;
  else if (o == "-fmr") return forceMeasBoardsReset();
  else if (o == "-col") return oneShotCollection(argc, optional());
  else if (o == "-si") return syncInfo();
  else if (o == "-fr") a.forceReset = true;
  else if (o == "-scf") a.sincorr = true;
  else if (o == "-rc") a.contRead = true;
  else if (o == "-caon") a.caon = true;
  else if (o == "-caoff") a.caoff = true;
  else if (o == "-inv") {
    a.invert = true;
    E_STATUS status = number(w, value(w), &a.invFlag);
    return status == SUCCESS ? number(w, value(w), &a.invChan) : status;
  } else if (o == "-ctf") {
    a.ctf = true;
    E_STATUS status = file(w, GPMC_DUMP_CTF);
    return status == SUCCESS ? number(w, value(w), &a.ctfSamples) : status;
  } else if (o == "-h") {
    usage();
    *done = true;
  }
  return SUCCESS;
}

// A file name as the command keeps it: at most 60 characters, ending at a line break.
std::string keptName(const char* text) {
  std::string name(text, strcspn(text, "\r\n"));
  return name.substr(0, FILE_NAME_MAX);
}

E_STATUS openFile(const char* given, const char* mode, FILE** f, std::string* keptAs = nullptr) {
  std::string name = keptName(given);
  *f = fopen(name.c_str(), mode);
  if (!*f) {
    LOGERR(LOG_TERM, "unable to open file %s\n", escPct(name).c_str());
    return FAILURE;
  }
  if (keptAs) *keptAs = name;
  return SUCCESS;
}

E_STATUS openFiles(const GpmcArgs& a, GpmcFiles& files) {
  if (a.outName) {
    const char* mode = a.dumpKind == GPMC_DUMP_BIN ? "w+b" : "w+";
    E_STATUS status = openFile(a.outName, mode, &files.out, &files.outName);
    if (status != SUCCESS) return status;
  }
  return a.inName ? openFile(a.inName, "r", &files.in) : SUCCESS;
}
}  // namespace

bool gpmcParseNum(const char* text, unsigned long* value) {
  char* end = nullptr;
  errno = 0;
  *value = strtoul(text, &end, 0);
  return *text && end && *end == '\0' && errno == 0;
}

E_STATUS gpmcBadNumber(const char* opt, const char* text) {
  LOGERR(LOG_TERM, "%s: %s is not a number\n", opt, escPct(text).c_str());
  return BAD_PARAMETER;
}

E_STATUS gpmc(int argc, char argv[][ARG_LEN]) {
  if (argc < 2) {
    log(LOG_TERM, "Try gpmc -h\n");
    return WRONG_NUM_ARGS;
  }
  GpmcArgs a;
  bool done = false;
  E_STATUS status = Scanner(argc, argv, a).run(&done);
  if (status != SUCCESS || done) return status;
  if (a.list)
    for (auto& entry : GpmcDevMap::getGpmcDevMap()->map) log(LOG_TERM, "%s\n", entry.first.c_str());
  GpmcFiles files;
  status = openFiles(a, files);
  return status == SUCCESS ? gpmcStages(a, files) : status;
}
