// The diagnostics' own configuration, in libconfig's syntax, with libconfig++.
#include <memory>

#include "board.h"
#include "kernel.h"
#include "xmlModuleLoad.h"

namespace {
constexpr const char* CFG_FILE = "/vesta/diags/diag.cfg";
// The installed configuration is a few lines; anything near this size is not it.
constexpr size_t MAX_CFG = 64 * 1024;

const char* const head[] = {"cfg - the diagnostics' configuration (/vesta/diags/diag.cfg)"};
const OptDecl list = flagOpt("-l").says(" -l - list every setting as path = value");
const OptDecl get = wordOpt("-g").says(" -g <path> - print one setting's value (a group's settings)");
const OptDecl file = wordOpt("-f").says(" -f <file> - another configuration file");
const OptDecl* const opts[] = {&list, &get, &file};

E_STATUS cfg(const Args& args, Board&) {
  if (args.has(list) == args.has(get)) {
    LOGERR(LOG_TERM, "give either -l or -g, see cfg -h\n");
    return BAD_PARAMETER;
  }
  const S_XML_MODULE* m = xmlModule("cfg");
  if (!m) return FXN_NOT_SUPPORTED;
  LogSink sink("cfg");
  const char* setting = args.has(get) ? args.word(get) : nullptr;
  if (args.has(file)) return static_cast<E_STATUS>(m->cfgShow(args.word(file), nullptr, setting, &sink));
  // The installed file is a system file: read through the kernel door, as the revision files are.
  // Room for one byte more than the limit and the terminator: a file of exactly
  // MAX_CFG bytes is read whole, a longer one shows itself by that byte.
  auto text = std::make_unique<char[]>(MAX_CFG + 2);
  ssize_t n = kernel().readFile(CFG_FILE, text.get(), MAX_CFG + 2);
  if (n < 0) {
    LOGERR(LOG_TERM, "unable to read configuration file %s\n", CFG_FILE);
    return FAILURE;
  }
  if (static_cast<size_t>(n) > MAX_CFG) {
    LOGERR(LOG_TERM, "configuration file %s is larger than %zu bytes\n", CFG_FILE, MAX_CFG);
    return FAILURE;
  }
  return static_cast<E_STATUS>(m->cfgShow(CFG_FILE, text.get(), setting, &sink));
}
}  // namespace

constinit const CmdDecl cfgCmd = {
    .help = "diagnostic configuration utility", .args = {.name = "cfg", .head = head, .opts = opts}, .handler = cfg};
DIAG_COMMAND(cfgCmd);
