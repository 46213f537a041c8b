// tmp: the processor's own temperatures, as the kernel's thermal zones give them.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "board.h"
#include "kernel.h"

namespace {
const char* const head[] = {"tmp - show the processor's temperatures: each thermal zone's type and degrees"};

const char THERMAL_DIR[] = "/sys/class/thermal";
// The kernel numbers a processor's zones from 0 without gaps; the bound keeps
// a strange sysfs from making the walk endless.
constexpr int MAX_ZONES = 64;
constexpr size_t TEXT_LEN = 64;

// A sysfs text without its line end; false when the file cannot be read, with
// the system's reason in err (0: the file was empty).
bool sysText(const std::string& path, char (&buf)[TEXT_LEN], int* err = nullptr) {
  ssize_t n = kernel().readFile(path.c_str(), buf, sizeof buf);
  if (err) *err = n < 0 ? errno : 0;
  if (n <= 0) return false;
  while (n > 0 && (buf[n - 1] == '\n' || buf[n - 1] == '\r')) buf[--n] = '\0';
  return true;
}

// Thousandths of a degree, as the zone's temp file holds them.
bool milliDegrees(const char* text, long* milli) {
  char* end = nullptr;
  errno = 0;
  *milli = strtol(text, &end, 10);
  return end != text && *end == '\0' && errno == 0;
}

std::string degreesText(long milli) {
  char buf[32];
  unsigned long mag = milli < 0 ? 0UL - static_cast<unsigned long>(milli) : static_cast<unsigned long>(milli);
  snprintf(buf, sizeof buf, "%s%lu.%03lu", milli < 0 ? "-" : "", mag / 1000, mag % 1000);
  return buf;
}

// One line a zone; a zone whose temperature cannot be read says so on its line.
E_STATUS z9CoreTempRegRd(const Args&, Board&) {
  E_STATUS st = SUCCESS;
  int zones = 0;
  for (; zones < MAX_ZONES; ++zones) {
    const std::string zone = "thermal_zone" + std::to_string(zones);
    const std::string dir = std::string(THERMAL_DIR) + "/" + zone;
    char type[TEXT_LEN], temp[TEXT_LEN];
    if (!sysText(dir + "/type", type)) break;
    long milli = 0;
    int err = 0;
    if (!sysText(dir + "/temp", temp, &err)) {
      LOGERR(LOG_TERM, "%s (%s): its temperature cannot be read\n", zone.c_str(), type);
      if (err) logErrno(LOG_TERM, err);
      st = FAILURE;
    } else if (!milliDegrees(temp, &milli)) {
      LOGERR(LOG_TERM, "%s (%s): its temperature reads \"%s\", not thousandths of a degree\n", zone.c_str(), type,
             temp);
      st = FAILURE;
    } else {
      log(LOG_TERM, "%-14s %-16s %8s C\n", zone.c_str(), type, degreesText(milli).c_str());
    }
  }
  if (zones == 0) {
    LOGERR(LOG_TERM, "no thermal zone in %s\n", THERMAL_DIR);
    return FAILURE;
  }
  return st;
}
}  // namespace

constinit const CmdDecl tmpCmd = {.help = "Show Z9 core temperatures",
                                  .args = {.name = "tmp", .head = head},
                                  .handler = z9CoreTempRegRd};
DIAG_COMMAND(tmpCmd);
