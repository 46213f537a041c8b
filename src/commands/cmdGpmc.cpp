// The gpmc command: the operator's view of the FPGA's access targets.
#include <unistd.h>

#include <climits>
#include <cstring>
#include <string>

#include "board.h"
#include "gpmcDevCtl.h"
#include "cmdGpmcStages.h"

namespace {
constexpr size_t FILE_NAME_MAX = 60;
constexpr unsigned long DEFAULT_COL_SAMPLES = 256;
constexpr unsigned long MAX_COL_SAMPLES = 0xfffe;  // the 16-bit sample address must be able to pass it

const OptDecl listNames = flagOpt("-l").says("-l - list device names (for -m) from table");
const OptDecl target = wordOpt("-m").says("-m <device_name>");
const OptDecl writeWords = optNumOpt("-w", 0, GPMC_XFER_WORDS).says("-w <num_words> - write num_words (1-4) to device");
const OptDecl readWords = optNumOpt("-r", 0, ULONG_MAX).says("-r <num_words> - read num_words from device");
const OptDecl data = numOpt("-d", 0, 0xFFFFFFFFul).says("-d <32bit_data_to_write> - the (up to) 4 words for -w");
const OptDecl offset = numOpt("-o", 0, 0xFFFFFFFFul).says("-o <offset_in_bytes> - even numbers 0, 2, 4, etc.");
const OptDecl decFile = wordOpt("-f").says("-f <file_name> - dump read data (ascii-decimal) to named file");
const OptDecl inFile = wordOpt("-fi").says("-fi <file_name> - input file");
const OptDecl binFile = wordOpt("-fb").says("-fb <file_name> - dump read data (binary) to named file");
const OptDecl hexFile = wordOpt("-fh").says("-fh <file_name> - dump read data (ascii-hex) to named file");
const OptDecl sineFile = wordOpt("-fs1").says("-fs1 <file_name> - dump chan1 sin data (decimal) to named file");
const OptDecl silent = flagOpt("-s").says("-s silent");
const OptDecl timeCycles = flagOpt("-t").says("-t - time cycles to determine transmit frequency");
const OptDecl boardsReset = flagOpt("-fmr").says("-fmr - force measurement boards reset");
const OptDecl collect =
    optNumOpt("-col", 0, MAX_COL_SAMPLES).says("-col [num_samples] - collect num_samples (default = 256) samples");
const OptDecl contAcqOn = flagOpt("-caon").says("-caon - driver style continuous acquistion start");
const OptDecl contAcqOff = flagOpt("-caoff").says("-caoff - driver style continuous acquistion stop");
const OptDecl syncInfo = flagOpt("-si").says("-si - display sync information");
const OptDecl sincorr = flagOpt("-scf").says("-scf - if outputting ibuf data, use sincorr format");
const OptDecl invert = numOpt("-inv", 0, 1).plus(numVal(1, 2)).says(
    "-inv <0-invert,1-uninvert> <1-chan1|2-chan2> - invert/un-invert specified channel's signal data");
const OptDecl ctfFile = wordOpt("-ctf").plus(numVal(0, INT_MAX)).says(
    "-ctf <file_name> <num_samples> - collects data to file");
// Not in the usage text, which the instrument's engineers know by heart: the
// target's own measurement reset and the continuous read.
const OptDecl forceReset = flagOpt("-fr");
const OptDecl contRead = flagOpt("-rc");
const OptDecl* const opts[] = {&listNames, &target,   &writeWords, &readWords,      &data,     &offset,    &decFile,
                               &inFile,    &binFile,  &hexFile,     &sineFile,   &silent,   &timeCycles, &boardsReset,
                               &collect,   &contAcqOn, &contAcqOff, &syncInfo,   &sincorr,  &invert,    &ctfFile,
                               &forceReset, &contRead};

E_STATUS forceMeasBoardsReset(GpmcDevMap& fpga) {
  GpmcDev* reg = regDev(fpga, "reg device not found");
  if (!reg) return FAILURE;
  E_STATUS status = GpmcDevCtl(*reg).GPMCFrcMeasReset();
  if (status != SUCCESS)
    LOGERR(LOG_TERM, "GPMCFrcMeasReset() failed\n");
  return status;
}

E_STATUS oneShotCollection(GpmcDevMap& fpga, const OptHit& hit, const Args& args) {
  if (args.count() != 2 && args.count() != 3) {
    LOGERR(LOG_TERM, "wrong number of arguments\n");
    return WRONG_NUM_ARGS;
  }
  unsigned long n = hit.has[0] ? hit.num[0] : DEFAULT_COL_SAMPLES;
  GpmcDev* reg = regDev(fpga, "reg device not found");
  if (!reg) return FAILURE;
  int waited = 0;
  E_STATUS status = GpmcDevCtl(*reg).GPMCEnOSDataCollNWait4Dn(n, &waited);
  if (status == TIMEOUT)
    LOGERR(LOG_TERM, "GPMCEnOSDataCollNWait4Dn() timed out\n");
  else if (status != SUCCESS)
    LOGERR(LOG_TERM, "GPMCEnOSDataCollNWait4Dn() failed, returned %d\n", status);
  return status;
}

E_STATUS showSyncInfo(GpmcDevMap& fpga) {
  GpmcDev* reg = regDev(fpga, "Device reg not found");
  if (!reg) return FAILURE;
  unsigned short v;
  E_STATUS status = reg->regRd(&v, GPMC_CLK_SEL);
  if (status != SUCCESS) return status;
  log(LOG_TERM, (v & CLK_SEL_EXT_MCLK) ? "using external MCLK from other signal host\n"
                                       : "using internal MCLK (not from other signal host)\n");
  return SUCCESS;
}

// -fmr, -col and -si act in the order they were met, before everything else.
E_STATUS actionsAsMet(const Args& args, GpmcDevMap& fpga) {
  for (const OptHit& hit : args.hits()) {
    E_STATUS status = SUCCESS;
    if (hit.opt == &boardsReset) status = forceMeasBoardsReset(fpga);
    if (hit.opt == &collect) status = oneShotCollection(fpga, hit, args);
    if (hit.opt == &syncInfo) status = showSyncInfo(fpga);
    if (status != SUCCESS) return status;
  }
  return SUCCESS;
}

// The last dump file named, and its format.
void dumpFile(const Args& s, GpmcArgs& a) {
  const struct {
    const OptDecl* opt;
    E_GPMC_DUMP kind;
  } files[] = {{&decFile, GPMC_DUMP_DEC}, {&binFile, GPMC_DUMP_BIN}, {&hexFile, GPMC_DUMP_HEX},
               {&sineFile, GPMC_DUMP_SINE1}, {&ctfFile, GPMC_DUMP_CTF}};
  const OptHit* last = s.lastOf({&decFile, &binFile, &hexFile, &sineFile, &ctfFile});
  if (!last) return;
  a.outName = last->word[0];
  for (const auto& f : files)
    if (f.opt == last->opt) a.dumpKind = f.kind;
}

GpmcArgs gpmcArgs(const Args& s) {
  GpmcArgs a{};  // a field the scan does not set is zero, not garbage
  a.list = s.has(listNames);
  a.devName = s.has(target) ? s.word(target) : nullptr;
  a.doWrite = s.has(writeWords);
  a.nWr = s.num(writeWords, 1);
  a.doRead = s.has(readWords);
  a.nRd = s.num(readWords, 1);
  a.data = s.num(data);
  a.offset = s.num(offset);
  a.inName = s.has(inFile) ? s.word(inFile) : nullptr;
  dumpFile(s, a);
  a.silent = s.has(silent);
  a.timeCycles = s.has(timeCycles);
  a.forceReset = s.has(forceReset);
  a.sincorr = s.has(sincorr);
  a.contRead = s.has(contRead);
  a.invert = s.has(invert);
  a.invFlag = s.num(invert);
  a.invChan = s.num(invert, 0, 1);
  a.ctf = s.has(ctfFile);
  a.ctfSamples = s.num(ctfFile, 0, 1);
  a.caon = s.has(contAcqOn);
  a.caoff = s.has(contAcqOff);
  return a;
}

// A file name as the command keeps it: at most 60 characters, ending at a line break.
std::string keptName(const char* text) {
  std::string name(text, strcspn(text, "\r\n"));
  return name.substr(0, FILE_NAME_MAX);
}

E_STATUS openFiles(const GpmcArgs& a, GpmcFiles& files) {
  if (a.outName) {
    E_STATUS status = files.out.open(keptName(a.outName), "w+");  // binary or text: the same bytes here
    if (status != SUCCESS) return status;
  }
  if (!a.inName) return SUCCESS;
  std::string name = keptName(a.inName);
  files.in = fopen(name.c_str(), "r");
  if (files.in) return SUCCESS;
  LOGERR(LOG_TERM, "unable to open file %s\n", name.c_str());
  return FAILURE;
}

E_STATUS gpmc(const Args& args, Board& board) {
  if (args.count() < 2) {
    log(LOG_TERM, "Try gpmc -h\n");
    return WRONG_NUM_ARGS;
  }
  E_STATUS status = actionsAsMet(args, board.fpga);
  if (status != SUCCESS) return status;
  const GpmcArgs a = gpmcArgs(args);
  if (a.list)
    for (const std::string& name : board.fpga.names()) log(LOG_TERM, "%s\n", name.c_str());
  GpmcFiles files;
  status = openFiles(a, files);
  return status == SUCCESS ? gpmcStages(board.fpga, a, files) : status;
}
}  // namespace

constinit const CmdDecl gpmcCmd = {.help = "GPMC prober", .args = {.name = "gpmc", .opts = opts}, .handler = gpmc};
DIAG_COMMAND(gpmcCmd);
