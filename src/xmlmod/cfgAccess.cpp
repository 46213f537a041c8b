// The diagnostics' configuration, in libconfig's syntax, with libconfig++.
#include <libconfig.h++>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "cfgAccess.h"
#include "diagStatus.h"
#include "textSink.h"

namespace {
std::string valueText(const libconfig::Setting& s) {
  switch (s.getType()) {
    case libconfig::Setting::TypeInt:
      return s.getFormat() == libconfig::Setting::FormatHex ? strf("0x%x", static_cast<unsigned>(static_cast<int>(s)))
                                                             : strf("%d", static_cast<int>(s));
    case libconfig::Setting::TypeInt64: return strf("%lld", static_cast<long long>(s));
    case libconfig::Setting::TypeFloat: return strf("%g", static_cast<double>(s));
    case libconfig::Setting::TypeBoolean: return static_cast<bool>(s) ? "true" : "false";
    case libconfig::Setting::TypeString: return "\"" + std::string(static_cast<const char*>(s)) + "\"";
    default: return "";
  }
}

// Every scalar setting under s, as path = value; a list's or array's members by index.
void listSettings(const libconfig::Setting& s, const std::string& path, const S_TEXT_SINK* sink) {
  if (!s.isAggregate()) {
    say(sink, "%s = %s", path.c_str(), valueText(s).c_str());
    return;
  }
  for (int i = 0; i < s.getLength(); ++i) {
    const libconfig::Setting& c = s[i];
    std::string sub = c.getName() ? (path.empty() ? "" : path + ".") + c.getName() : path + strf("[%d]", i);
    listSettings(c, sub, sink);
  }
}

bool readCfg(libconfig::Config& cfg, const char* name, const char* text, const S_TEXT_SINK* sink) {
  try {
    if (text) {
      cfg.readString(text);
    } else {
      FILE* f = fopen(name, "r");  // for the system's reason, which libconfig does not give
      if (!f) {
        fail(sink, "unable to open configuration file %s: %s (%d)", name, strerror(errno), errno);
        return false;
      }
      fclose(f);
      cfg.readFile(name);
    }
    return true;
  } catch (const libconfig::ParseException& e) {
    fail(sink, "configuration file %s, line %d: %s", name, e.getLine(), e.getError());
  } catch (const libconfig::FileIOException&) {
    fail(sink, "unable to read configuration file %s", name);
  }
  return false;
}
}  // namespace

int cfgShow(const char* name, const char* text, const char* setting, const S_TEXT_SINK* sink) {
  libconfig::Config cfg;
  if (!readCfg(cfg, name, text, sink)) return FAILURE;
  if (!setting) {
    listSettings(cfg.getRoot(), "", sink);
    return SUCCESS;
  }
  try {
    const libconfig::Setting& s = cfg.lookup(setting);
    std::string v;
    if (s.getType() == libconfig::Setting::TypeString && cfg.lookupValue(setting, v)) {
      say(sink, "%s", v.c_str());  // a string as it is, for scripts
    } else if (s.isAggregate()) {
      listSettings(s, setting, sink);
    } else {
      say(sink, "%s", valueText(s).c_str());
    }
    return SUCCESS;
  } catch (const libconfig::SettingNotFoundException&) {
    return fail(sink, "no setting %s in %s", setting, name);
  } catch (const libconfig::ConfigException&) {
    return fail(sink, "setting path %s cannot be read in %s", setting, name);
  }
}
