#include <cstring>
#include <string>

#include "allOkayMap.h"
#include "commands.h"
#include "gpmcDevMap.h"
#include "log.h"

bool setFPTheOldWay = false;

namespace {
void usage() {
  const char* lines[] = {"allok - scan sources of all okay signal",
                         " -d - display the scanned allok status",
                         " -sok <component> - set component to okay",
                         " -snk <component> - set component to NOT okay",
                         " -scn <M|m|s> - scan for allok from specifed host assembly",
                         " -set <M|m|s> [OKsrc] - set allok outs true for specifed host assembly",
                         "    optionally set only the specified allok src's out to true",
                         " -fno <device_name> - force allok out false for specifed device",
                         " -l - list ALL-OKAY device names",
                         " -fpow - only after -set M - front panel old way"};
  for (const char* l : lines) log(LOG_TERM, "%s\n", l);
}

bool hostOf(const char* arg, E_HOST* host) {
  switch (arg[0]) {
    case 'M': *host = MAIN; return true;
    case 'm': *host = MEAS; return true;
    case 's': *host = SIGNAL; return true;
  }
  LOGERR(LOG_TERM, "unknown host %s\n", escPct(arg).c_str());
  return false;
}

const char* word(E_STATUS st, bool ok, const char* yes) { return st == FXN_NOT_SUPPORTED ? "NA" : ok ? yes : "false"; }

E_STATUS setHostOK(const std::string& name, bool ok) {
  GpmcDev* dev = GpmcDevMap::getGpmcDevMap()->find("reg");
  if (name != "mnhost" && name != "mshost" && name != "srchost") return SUCCESS;
  if (!dev) return ENTRY_NOT_FOUND;
  return name == "mnhost" ? dev->setMHOK(ok) : dev->setSHOK(ok);
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
    LOGERR(LOG_TERM, "%s not found\n", escPct(name).c_str());
    return ENTRY_NOT_FOUND;
  }
  return src->setOkayOut(false, false);
}

// Positions of the options' arguments in argv; 0 where the option was not given.
struct AllokOpts {
  bool disp = false;
  int sok = 0, snk = 0, scn = 0, set = 0, fno = 0;
};

const char* arg(char argv[][ARG_LEN], int argc, int pos) { return pos > 0 && pos < argc ? argv[pos] : ""; }
}  // namespace

E_STATUS allok(int argc, char argv[][ARG_LEN]) {
  setFPTheOldWay = false;
  AllokOpts o;
  AllOkayMap m;
  for (int i = 1; i < argc; ++i) {
    const char* a = argv[i];
    if (!strcmp(a, "-d")) o.disp = true;
    else if (!strcmp(a, "-sok")) o.sok = i + 1;
    else if (!strcmp(a, "-snk")) o.snk = i + 1;
    else if (!strcmp(a, "-scn")) o.scn = i + 1;
    else if (!strcmp(a, "-set")) o.set = i + 1;
    else if (!strcmp(a, "-fno")) o.fno = i + 1;
    else if (!strcmp(a, "-fpow")) setFPTheOldWay = true;
    else if (!strcmp(a, "-l")) {
      for (auto& entry : m.map) log(LOG_TERM, "%s\n", entry.first.c_str());
      return SUCCESS;
    } else if (!strcmp(a, "-h")) {
      usage();
      return SUCCESS;
    }
  }
  E_STATUS st = SUCCESS;
  E_HOST host;
  if (o.snk) st = setHostOK(arg(argv, argc, o.snk), false);
  if (st == SUCCESS && o.sok) st = setHostOK(arg(argv, argc, o.sok), true);
  if (st == SUCCESS && o.disp) st = dispOKStatus(m);
  if (st == SUCCESS && o.scn) st = hostOf(arg(argv, argc, o.scn), &host) ? scan4Okay(m, host) : BAD_PARAMETER;
  if (st == SUCCESS && o.set) {
    const char* src = arg(argv, argc, o.set + 1);
    std::string which = (src[0] && src[0] != '-') ? src : "all";
    st = hostOf(arg(argv, argc, o.set), &host) ? setOkays(m, host, which) : BAD_PARAMETER;
  }
  if (st == SUCCESS && o.fno) st = frcNotOkay(m, arg(argv, argc, o.fno));
  return st;
}
