// Failures of the kernel calls on the device files: a driver or adapter that
// refuses a call (by request number, from its Nth call on, for a number of
// calls) or moves fewer bytes than asked. The device models never see a call
// that failed here.
#include "kernelFault.h"

#include <cstdio>

#include "kernelText.h"
#include "simCtl.h"
#include "simState.h"
#include "simTrace.h"

namespace sim {

namespace {
using Args = std::vector<std::string>;

const char* const OP_NAMES[] = {"", "open", "read", "write", "ioctl", "mmap"};

E_KOP opOf(const std::string& w) {
  for (int i = KOP_OPEN; i <= KOP_MMAP; ++i)
    if (w == OP_NAMES[i]) return static_cast<E_KOP>(i);
  return KOP_NONE;
}

bool devOf(const std::string& w, int16_t* dev) {
  if (w == "fpga") {
    *dev = KDEV_FPGA;
    return true;
  }
  unsigned long n;
  if (w.rfind("i2c-", 0) != 0 || !parseNum(w.substr(4), &n) || n > 255) return false;
  *dev = static_cast<int16_t>(n);
  return true;
}

std::string devText(int dev) { return dev == KDEV_FPGA ? "fpga" : "i2c-" + std::to_string(dev); }

bool matches(const KernelFault& f, E_KOP op, int dev, unsigned long request) {
  return f.op == op && f.dev == dev && (op != KOP_IOCTL || f.request == 0 || f.request == request);
}

int bad(std::string& out, const std::string& why) {
  out = why + "\n" + kernelCtlUsage();
  return 2;
}

// "[after N] [times M]" from position at on.
bool counts(const Args& a, size_t at, KernelFault& f) {
  for (; at < a.size(); at += 2) {
    unsigned long v;
    if (at + 1 >= a.size() || !parseNum(a[at + 1], &v) || v > 0xffffffffUL) return false;
    if (a[at] == "after") f.skip = static_cast<uint32_t>(v);
    else if (a[at] == "times") f.times = static_cast<uint32_t>(v);
    else return false;
  }
  return true;
}

int add(SimState& s, const KernelFault& f, std::string& out) {
  for (KernelFault& slot : s.kfault.slot) {
    if (slot.op == KOP_NONE) {
      slot = f;
      return 0;
    }
  }
  out = "no room for another kernel fault (at most " + std::to_string(KFAULT_SLOTS) + "); kernel clear removes them\n";
  return 2;
}

// fail OP DEVICE ERRNO [REQUEST] [after N] [times M]
int failCmd(SimState& s, const Args& a, std::string& out) {
  KernelFault f{};
  if (a.size() < 5 || (f.op = opOf(a[2])) == KOP_NONE || !devOf(a[3], &f.dev))
    return bad(out, "usage: kernel fail OP DEVICE ERRNO [REQUEST] [after N] [times M]");
  f.err = errNumber(a[4]);
  if (!f.err) return bad(out, "unknown errno name " + a[4]);
  size_t at = 5;
  unsigned long rq;
  if (f.op == KOP_IOCTL && at < a.size() && parseNum(a[at], &rq)) {
    f.request = static_cast<uint32_t>(rq);
    ++at;
  }
  if (!counts(a, at, f)) return bad(out, "after and times take a count");
  return add(s, f, out);
}

// short read|write DEVICE BYTES [after N] [times M]
int shortCmd(SimState& s, const Args& a, std::string& out) {
  KernelFault f{};
  unsigned long len;
  f.op = a.size() >= 5 ? opOf(a[2]) : KOP_NONE;
  if ((f.op != KOP_READ && f.op != KOP_WRITE) || !devOf(a[3], &f.dev) || !parseNum(a[4], &len) || len > 0xffff)
    return bad(out, "usage: kernel short read|write DEVICE BYTES [after N] [times M]");
  f.shortOnly = 1;
  f.shortLen = static_cast<uint32_t>(len);
  if (!counts(a, 5, f)) return bad(out, "after and times take a count");
  return add(s, f, out);
}

std::string list(const SimState& s) {
  std::string out;
  for (const KernelFault& f : s.kfault.slot) {
    if (f.op == KOP_NONE) continue;
    char line[200];
    if (f.shortOnly)
      snprintf(line, sizeof line, "short %s %s %u", OP_NAMES[f.op], devText(f.dev).c_str(), f.shortLen);
    else
      snprintf(line, sizeof line, "fail %s %s %s", OP_NAMES[f.op], devText(f.dev).c_str(), errName(f.err).c_str());
    out += line;
    if (f.op == KOP_IOCTL && !f.shortOnly && f.request) {
      snprintf(line, sizeof line, " 0x%x", f.request);
      out += line;
    }
    out += " after " + std::to_string(f.skip) + " times " + (f.times ? std::to_string(f.times) : "all") +
           ", given " + std::to_string(f.hits) + "\n";
  }
  return out.empty() ? "no kernel faults\n" : out;
}
}  // namespace

int kernelFault(SimState& s, E_KOP op, int dev, unsigned long request, size_t* n) {
  for (KernelFault& f : s.kfault.slot) {
    if (!matches(f, op, dev, request)) continue;
    if (f.skip) {
      --f.skip;
      continue;
    }
    if (f.times && f.hits >= f.times) continue;
    ++f.hits;
    if (f.shortOnly) {
      if (n && *n > f.shortLen) {
        trace("fault: %s %s short %zu -> %u", OP_NAMES[op], devText(dev).c_str(), *n, f.shortLen);
        *n = f.shortLen;
      }
      continue;
    }
    trace("fault: %s %s 0x%lx -> %s", OP_NAMES[op], devText(dev).c_str(), request, errName(f.err).c_str());
    return -f.err;
  }
  return 0;
}

std::string kernelCtlUsage() {
  return "  kernel fail OP DEVICE ERRNO [REQUEST] [after N] [times M]\n"
         "                                OP open|read|write|ioctl|mmap on DEVICE fpga|i2c-N fails with ERRNO\n"
         "                                (EIO, ETIMEDOUT, EREMOTEIO, ENXIO, EAGAIN, ...); an ioctl fault may\n"
         "                                name its request number; the first N calls still succeed, then M fail\n"
         "  kernel short read|write DEVICE BYTES [after N] [times M]\n"
         "                                the call moves at most BYTES bytes\n"
         "  kernel list                   the kernel faults and how often each has struck\n"
         "  kernel clear                  removes every kernel fault\n";
}

int kernelCtl(SimState& s, const std::vector<std::string>& a, std::string& out) {
  const std::string sub = a.size() > 1 ? a[1] : "";
  if (sub == "fail") return failCmd(s, a, out);
  if (sub == "short") return shortCmd(s, a, out);
  if (sub == "list" && a.size() == 2) {
    out = list(s);
    return 0;
  }
  if (sub == "clear" && a.size() == 2) {
    s.kfault = KernelFaults{};
    return 0;
  }
  return bad(out, "bad kernel command");
}

}  // namespace sim
