#include <string>

#include "allOkayMap.h"
#include "board.h"
#include "gpmcDevStat.h"

namespace {
const char* const head[] = {"allok - scan sources of all okay signal"};
const OptDecl display = flagOpt("-d").says(" -d - display the scanned allok status");
const OptDecl setOk = wordOpt("-sok").says(" -sok <component> - set component to okay");
const OptDecl setNotOk = wordOpt("-snk").says(" -snk <component> - set component to NOT okay");
const OptDecl scanHost = wordOpt("-scn").says(" -scn <M|m|s> - scan for allok from specifed host assembly");
const OptDecl setHost = wordOpt("-set").plus(wordVal(true)).says(
    " -set <M|m|s> [OKsrc] - set allok outs true for specifed host assembly\n"
    "    optionally set only the specified allok src's out to true");
const OptDecl forceNotOk = wordOpt("-fno").says(" -fno <device_name> - force allok out false for specifed device");
const OptDecl listNames = flagOpt("-l").says(" -l - list ALL-OKAY device names");
const OptDecl oldWay = flagOpt("-fpow").says(" -fpow - only after -set M - front panel old way");
const OptDecl* const opts[] = {&display, &setOk, &setNotOk, &scanHost, &setHost, &forceNotOk, &listNames, &oldWay};

bool hostOf(const char* arg, E_HOST* host) {
  switch (arg[0]) {
    case 'M': *host = MAIN; return true;
    case 'm': *host = MEAS; return true;
    case 's': *host = SIGNAL; return true;
  }
  LOGERR(LOG_TERM, "unknown host %s\n", arg);
  return false;
}

const char* word(E_STATUS st, bool ok, const char* yes) { return st == FXN_NOT_SUPPORTED ? "NA" : ok ? yes : "false"; }

E_STATUS setHostOK(GpmcDevMap& fpga, const std::string& name, bool ok) {
  if (name != "mnhost" && name != "mshost" && name != "srchost") return SUCCESS;
  GpmcDev* dev = fpga.find("reg");
  if (!dev) return ENTRY_NOT_FOUND;
  GpmcDevStat stat(*dev);
  return name == "mnhost" ? stat.setMHOK(ok) : stat.setSHOK(ok);
}

E_STATUS scan4Okay(AllOkayMap& m, E_HOST host) {
  log(LOG_TERM, "ALL OKAY   OUT      IN\n");
  for (auto& [name, src] : m.map) {
    if (src->host != host) continue;
    bool out = false, in = false;
    E_STATUS so = src->chk4OkayOut(&out);
    E_STATUS si = src->chk4AllOkayIn(&in);
    log(LOG_TERM, "%-7s    %s    %s\n", name.c_str(), word(so, out, "true "), word(si, in, "true"));
  }
  return SUCCESS;
}

E_STATUS dispOKStatus(AllOkayMap& m) {
  log(LOG_TERM, "SOURCE\tACCESSIBLE\tALLOKOUT\tALLOKIN\n");
  for (auto& [name, src] : m.map) {
    bool out = false, in = false;
    E_STATUS so = src->chk4OkayOut(&out);
    E_STATUS si = src->chk4AllOkayIn(&in);
    // Reached: every operation it has answered, and it has at least one.
    auto answered = [](E_STATUS st) { return st == SUCCESS || st == FXN_NOT_SUPPORTED; };
    bool reached = answered(so) && answered(si) && (so == SUCCESS || si == SUCCESS);
    log(LOG_TERM, "%s\t%s\t\t%s\t\t%s\n", name.c_str(), reached ? "yes" : "no",
        answered(so) ? word(so, out, "true") : "?", answered(si) ? word(si, in, "true") : "?");
  }
  return SUCCESS;
}

E_STATUS setOkays(AllOkayMap& m, E_HOST host, const std::string& which, bool frontPanelOldWay) {
  E_STATUS result = SUCCESS;
  for (auto& [name, src] : m.map) {
    if (src->host != host || (which != "all" && which != name)) continue;
    E_STATUS st = src->setOkayOut(true, frontPanelOldWay);
    if (st != SUCCESS && st != FXN_NOT_SUPPORTED && result == SUCCESS) result = st;
    if (which == name) break;
  }
  return result;
}

E_STATUS frcNotOkay(AllOkayMap& m, const std::string& name) {
  AllOkay* src = m.find(name);
  if (!src) {
    LOGERR(LOG_TERM, "%s not found\n", name.c_str());
    return ENTRY_NOT_FOUND;
  }
  return src->setOkayOut(false, false);
}

E_STATUS forHost(const char* hostArg, E_HOST* host) { return hostOf(hostArg, host) ? SUCCESS : BAD_PARAMETER; }

// -l alone; else the actions in a fixed order: -snk, -sok, -d, -scn, -set, -fno.
E_STATUS allok(const Args& args, Board& board) {
  AllOkayMap m(board.devices);
  if (args.has(listNames)) {
    for (auto& entry : m.map) log(LOG_TERM, "%s\n", entry.first.c_str());
    return SUCCESS;
  }
  E_HOST host;
  E_STATUS st = SUCCESS;
  if (args.has(setNotOk)) st = setHostOK(board.fpga, args.word(setNotOk), false);
  if (st == SUCCESS && args.has(setOk)) st = setHostOK(board.fpga, args.word(setOk), true);
  if (st == SUCCESS && args.has(display)) st = dispOKStatus(m);
  if (st == SUCCESS && args.has(scanHost) && (st = forHost(args.word(scanHost), &host)) == SUCCESS)
    st = scan4Okay(m, host);
  if (st == SUCCESS && args.has(setHost) && (st = forHost(args.word(setHost), &host)) == SUCCESS)
    st = setOkays(m, host, args.word(setHost, "all", 1), args.has(oldWay));
  if (st == SUCCESS && args.has(forceNotOk)) st = frcNotOkay(m, args.word(forceNotOk));
  return st;
}
}  // namespace

constinit const CmdDecl allokCmd = {
    .help = "Check the all okay signal sources",
    .args = {.name = "allok", .head = head, .opts = opts,
             .rules = {.valueWord = VALUE_SCANNED_TOO, .missing = MISSING_IS_ZERO}},
    .handler = allok};
DIAG_COMMAND(allokCmd);
