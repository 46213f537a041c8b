// The gpmc command: the operator's view of the FPGA's access targets.
#include <unistd.h>

#include <climits>
#include <cstring>
#include <string>

#include "argScan.h"
#include "cmdGpmcStages.h"
#include "commands.h"
#include "gpmcDevCtl.h"
#include "gpmcDevMap.h"
#include "log.h"

namespace {
constexpr size_t FILE_NAME_MAX = 60;
constexpr unsigned long DEFAULT_COL_SAMPLES = 256;
constexpr unsigned long MAX_COL_SAMPLES = 0xfffe;  // the 16-bit sample address must be able to pass it

const char* const usage[] = {
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

GpmcDev* regDev(const char* missingMsg) {
  GpmcDev* reg = GpmcDevMap::find("reg");
  if (!reg)
    LOGERR(LOG_TERM, "%s\n", missingMsg);
  return reg;
}

E_STATUS forceMeasBoardsReset(const OptHit&, const ArgScan&) {
  GpmcDev* reg = regDev("reg device not found");
  if (!reg) return FAILURE;
  E_STATUS status = GpmcDevCtl(*reg).GPMCFrcMeasReset();
  if (status != SUCCESS)
    LOGERR(LOG_TERM, "GPMCFrcMeasReset() failed\n");
  return status;
}

E_STATUS oneShotCollection(const OptHit& hit, const ArgScan& scan) {
  if (scan.count() != 2 && scan.count() != 3) {
    LOGERR(LOG_TERM, "wrong number of arguments\n");
    return WRONG_NUM_ARGS;
  }
  unsigned long n = hit.has[0] ? hit.num[0] : DEFAULT_COL_SAMPLES;
  GpmcDev* reg = regDev("reg device not found");
  if (!reg) return FAILURE;
  int waited = 0;
  E_STATUS status = GpmcDevCtl(*reg).GPMCEnOSDataCollNWait4Dn(n, &waited);
  if (status == TIMEOUT)
    LOGERR(LOG_TERM, "GPMCEnOSDataCollNWait4Dn() timed out\n");
  else if (status != SUCCESS)
    LOGERR(LOG_TERM, "GPMCEnOSDataCollNWait4Dn() failed, returned %d\n", status);
  return status;
}

E_STATUS syncInfo(const OptHit&, const ArgScan&) {
  GpmcDev* reg = regDev("Device reg not found");
  if (!reg) return FAILURE;
  unsigned short v;
  E_STATUS status = reg->regRd(&v, GPMC_CLK_SEL);
  if (status != SUCCESS) return status;
  log(LOG_TERM, (v & CLK_SEL_EXT_MCLK) ? "using external MCLK from other signal host\n"
                                       : "using internal MCLK (not from other signal host)\n");
  return SUCCESS;
}

// Values are the next words; -w, -r and -col may leave theirs out. -fmr, -col
// and -si act when met, -h at once.
const OptDecl opts[] = {flagOpt("-l"),
                        wordOpt("-m"),
                        optNumOpt("-w", 0, GPMC_XFER_WORDS),
                        optNumOpt("-r", 0, ULONG_MAX),
                        numOpt("-d", 0, 0xFFFFFFFFul),
                        numOpt("-o", 0, 0xFFFFFFFFul),
                        wordOpt("-f"),
                        wordOpt("-fi"),
                        wordOpt("-fb"),
                        wordOpt("-fh"),
                        wordOpt("-fs1"),
                        flagOpt("-s"),
                        flagOpt("-t"),
                        flagOpt("-fmr").then(forceMeasBoardsReset),
                        optNumOpt("-col", 0, MAX_COL_SAMPLES).then(oneShotCollection),
                        flagOpt("-si").then(syncInfo),
                        flagOpt("-fr"),
                        flagOpt("-scf"),
                        flagOpt("-rc"),
                        numOpt("-inv", 0, 1).plus(numVal(1, 2)),
                        wordOpt("-ctf").plus(numVal(0, INT_MAX)),
                        flagOpt("-caon"),
                        flagOpt("-caoff"),
                        helpOpt()};

// The last dump file named, and its format.
void dumpFile(const ArgScan& s, GpmcArgs& a) {
  const struct {
    const char* opt;
    E_GPMC_DUMP kind;
  } files[] = {{"-f", GPMC_DUMP_DEC}, {"-fb", GPMC_DUMP_BIN}, {"-fh", GPMC_DUMP_HEX}, {"-fs1", GPMC_DUMP_SINE1},
               {"-ctf", GPMC_DUMP_CTF}};
  const OptHit* last = s.lastOf({"-f", "-fb", "-fh", "-fs1", "-ctf"});
  if (!last) return;
  a.outName = last->word[0];
  for (const auto& f : files)
    if (!strcmp(f.opt, last->opt->name)) a.dumpKind = f.kind;
}

GpmcArgs gpmcArgs(const ArgScan& s) {
  GpmcArgs a;
  a.list = s.has("-l");
  a.devName = s.has("-m") ? s.word("-m") : nullptr;
  a.doWrite = s.has("-w");
  a.nWr = s.num("-w", 1);
  a.doRead = s.has("-r");
  a.nRd = s.num("-r", 1);
  a.data = s.num("-d");
  a.offset = s.num("-o");
  a.inName = s.has("-fi") ? s.word("-fi") : nullptr;
  dumpFile(s, a);
  a.silent = s.has("-s");
  a.timeCycles = s.has("-t");
  a.forceReset = s.has("-fr");
  a.sincorr = s.has("-scf");
  a.contRead = s.has("-rc");
  a.invert = s.has("-inv");
  a.invFlag = s.num("-inv");
  a.invChan = s.num("-inv", 0, 1);
  a.ctf = s.has("-ctf");
  a.ctfSamples = s.num("-ctf", 0, 1);
  a.caon = s.has("-caon");
  a.caoff = s.has("-caoff");
  return a;
}

// A file name as the command keeps it: at most 60 characters, ending at a line break.
std::string keptName(const char* text) {
  std::string name(text, strcspn(text, "\r\n"));
  return name.substr(0, FILE_NAME_MAX);
}

E_STATUS openFiles(const GpmcArgs& a, GpmcFiles& files) {
  if (a.outName) {
    const char* mode = a.dumpKind == GPMC_DUMP_BIN ? "w+b" : "w+";
    E_STATUS status = files.out.open(keptName(a.outName), mode);
    if (status != SUCCESS) return status;
  }
  if (!a.inName) return SUCCESS;
  std::string name = keptName(a.inName);
  files.in = fopen(name.c_str(), "r");
  if (files.in) return SUCCESS;
  LOGERR(LOG_TERM, "unable to open file %s\n", name.c_str());
  return FAILURE;
}
}  // namespace

E_STATUS gpmc(int argc, char argv[][ARG_LEN]) {
  if (argc < 2) {
    log(LOG_TERM, "Try gpmc -h\n");
    return WRONG_NUM_ARGS;
  }
  ArgScan scan(gpmcCmd.args, argc, argv);
  E_STATUS status = scan.run();
  if (status != SUCCESS || scan.ended()) return status;
  const GpmcArgs a = gpmcArgs(scan);
  if (a.list)
    for (const std::string& name : GpmcDevMap::names()) log(LOG_TERM, "%s\n", name.c_str());
  GpmcFiles files;
  status = openFiles(a, files);
  return status == SUCCESS ? gpmcStages(a, files) : status;
}

constinit const CmdDecl gpmcCmd = {
    .help = "GPMC prober",
    .args = {.name = "gpmc", .usage = usage, .opts = opts,
             .rules = {.missing = MISSING_REFUSED, .refusal = "%s needs a value"}},
    .handler = gpmc};
