#include <string>

#include "allOkayMap.h"
#include "argScan.h"
#include "commands.h"
#include "gpmcDevMap.h"
#include "gpmcDevStat.h"
#include "log.h"

bool setFPTheOldWay = false;

namespace {
const char* const usage[] = {"allok - scan sources of all okay signal",
                             " -d - display the scanned allok status",
                             " -sok <component> - set component to okay",
                             " -snk <component> - set component to NOT okay",
                             " -scn <M|m|s> - scan for allok from specifed host assembly",
                             " -set <M|m|s> [OKsrc] - set allok outs true for specifed host assembly",
                             "    optionally set only the specified allok src's out to true",
                             " -fno <device_name> - force allok out false for specifed device",
                             " -l - list ALL-OKAY device names",
                             " -fpow - only after -set M - front panel old way"};

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

E_STATUS setHostOK(const std::string& name, bool ok) {
  GpmcDev* dev = GpmcDevMap::find("reg");
  if (name != "mnhost" && name != "mshost" && name != "srchost") return SUCCESS;
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

E_STATUS setOkays(AllOkayMap& m, E_HOST host, const std::string& which) {
  E_STATUS result = SUCCESS;
  for (auto& [name, src] : m.map) {
    if (src->host != host || (which != "all" && which != name)) continue;
    E_STATUS st = src->setOkayOut(true, setFPTheOldWay);
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

E_STATUS listSources(const OptHit&, const ArgScan&) {
  for (auto& entry : AllOkayMap().map) log(LOG_TERM, "%s\n", entry.first.c_str());
  return SUCCESS;
}

E_STATUS oldWay(const OptHit&, const ArgScan&) {
  setFPTheOldWay = true;
  return SUCCESS;
}

// An option's argument is the next word, and the scan still looks at that word
// too; -l and -h act at once and end the command.
const OptDecl opts[] = {flagOpt("-d"),
                        wordOpt("-sok"),
                        wordOpt("-snk"),
                        wordOpt("-scn"),
                        wordOpt("-set").plus(wordVal(true)),
                        wordOpt("-fno"),
                        flagOpt("-fpow").then(oldWay),
                        flagOpt("-l").then(listSources).endsScan(),
                        helpOpt()};

E_STATUS forHost(const char* hostArg, E_HOST* host) { return hostOf(hostArg, host) ? SUCCESS : BAD_PARAMETER; }
}  // namespace

// After the scan the actions run in a fixed order: -snk, -sok, -d, -scn, -set, -fno.
E_STATUS allok(int argc, char argv[][ARG_LEN]) {
  setFPTheOldWay = false;
  ArgScan scan(allokCmd.args, argc, argv);
  E_STATUS st = scan.run();
  if (st != SUCCESS || scan.ended()) return st;
  AllOkayMap m;
  E_HOST host;
  if (scan.has("-snk")) st = setHostOK(scan.word("-snk"), false);
  if (st == SUCCESS && scan.has("-sok")) st = setHostOK(scan.word("-sok"), true);
  if (st == SUCCESS && scan.has("-d")) st = dispOKStatus(m);
  if (st == SUCCESS && scan.has("-scn") && (st = forHost(scan.word("-scn"), &host)) == SUCCESS) st = scan4Okay(m, host);
  if (st == SUCCESS && scan.has("-set") && (st = forHost(scan.word("-set"), &host)) == SUCCESS)
    st = setOkays(m, host, scan.word("-set", "all", 1));
  if (st == SUCCESS && scan.has("-fno")) st = frcNotOkay(m, scan.word("-fno"));
  return st;
}

constinit const CmdDecl allokCmd = {
    .help = "Check the all okay signal sources",
    .args = {.name = "allok", .usage = usage, .opts = opts,
             .rules = {.valueWord = VALUE_SCANNED_TOO, .missing = MISSING_IS_ZERO}},
    .handler = allok};
