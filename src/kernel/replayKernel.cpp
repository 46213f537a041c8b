#include "replayKernel.h"

#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "kernelText.h"

#ifndef DIAG_VERSION
#define DIAG_VERSION "unknown"
#endif

namespace {
// A whole number of the answer's words; false for another word.
bool wholeNumber(const std::string& w, long long* v) {
  if (w.empty() || w.find_first_not_of("0123456789") != std::string::npos || w.size() > 18) return false;
  *v = atoll(w.c_str());
  return true;
}

// The bytes of a read: hexadecimal pairs, or for a system file its count and text.
bool readBytes(const std::string& answer, bool text, std::vector<uint8_t>* out) {
  if (!text) return parseHexBytes(answer, out);
  std::vector<std::string> w;
  long long count;
  if (!splitWords(answer, &w) || w.size() != 2 || !wholeNumber(w[0], &count) || static_cast<size_t>(count) != w[1].size())
    return false;
  out->assign(w[1].begin(), w[1].end());
  return true;
}

// The read messages' bytes of an I2C_RDWR answer, separated by " ; ".
bool takeRdwr(const std::string& answer, i2c_rdwr_ioctl_data* d) {
  size_t from = 0;
  for (__u32 k = 0; k < d->nmsgs; ++k) {
    i2c_msg& m = d->msgs[k];
    if (!(m.flags & I2C_M_RD)) continue;
    size_t end = answer.find(" ; ", from);
    std::vector<uint8_t> b;
    if (from > answer.size() || !parseHexBytes(answer.substr(from, end == std::string::npos ? end : end - from), &b) ||
        b.size() != m.len)
      return false;
    if (!b.empty()) memcpy(m.buf, b.data(), b.size());
    from = end == std::string::npos ? answer.size() + 1 : end + 3;
  }
  return from >= answer.size();
}

std::string versionNumber(const std::string& version) { return version.substr(0, version.find(' ')); }
}  // namespace

bool ReplayKernel::load(const std::string& file, bool inRealTime, std::string* why) {
  path = file;
  realTime = inRealTime;
  return readRecording(file, &rec, why);
}

std::string ReplayKernel::versionNote() const {
  if (versionNumber(rec.version) == DIAG_VERSION) return "";
  return "recorded by version " + versionNumber(rec.version) + ", replayed by version " DIAG_VERSION
         ": the program may differ";
}

void ReplayKernel::stop(const std::string& recorded, const std::string& asked) {
  fflush(stdout);
  fprintf(stderr, "diag-replay: request %zu differs: recorded %s, asked %s\n", next + 1,
          recorded.empty() ? "nothing more" : ("\"" + recorded + "\"").c_str(),
          asked.empty() ? "nothing more (the program ended)" : ("\"" + asked + "\"").c_str());
  exit(DIFFERS);
}

void ReplayKernel::unreadable(const RecLine& l) {
  fflush(stdout);
  fprintf(stderr, "diag-replay: request %lu of %s: \"%s\" is no answer to \"%s\"\n", l.number, path.c_str(),
          l.answer.c_str(), l.request.c_str());
  exit(DIFFERS);
}

const RecLine& ReplayKernel::expect(const std::string& asked) {
  if (next >= rec.lines.size()) stop("", asked);
  const RecLine& l = rec.lines[next];
  if (l.request != asked) stop(l.request, asked);
  ++next;
  return l;
}

void ReplayKernel::finish() {
  std::lock_guard<std::recursive_mutex> g(mutex);
  if (next < rec.lines.size()) stop(rec.lines[next].request, "");
}

bool ReplayKernel::failed(const RecLine& l) {
  int err = errNumber(l.answer);
  if (!err) return false;
  errno = err;
  return true;
}

int ReplayKernel::doOpen(const char* p, int flags) {
  std::lock_guard<std::recursive_mutex> g(mutex);
  const RecLine& l = expect(words.open(p, flags));
  if (failed(l)) return -1;
  long long fd;
  if (l.answer.rfind("fd ", 0) != 0 || !wholeNumber(l.answer.substr(3), &fd)) unreadable(l);
  words.opened(static_cast<int>(fd), p);
  return static_cast<int>(fd);
}

int ReplayKernel::doClose(int fd) {
  std::lock_guard<std::recursive_mutex> g(mutex);
  const RecLine& l = expect(words.close(fd));
  if (failed(l)) return -1;
  if (!l.answer.empty()) unreadable(l);
  words.closed(fd);
  return 0;
}

ssize_t ReplayKernel::doRead(int fd, void* buf, size_t n) {
  std::lock_guard<std::recursive_mutex> g(mutex);
  const RecLine& l = expect(words.read(fd, n));
  if (failed(l)) return -1;
  std::vector<uint8_t> b;
  if (!readBytes(l.answer, words.isSysFile(fd), &b) || b.size() > n) unreadable(l);
  if (!b.empty()) memcpy(buf, b.data(), b.size());
  return static_cast<ssize_t>(b.size());
}

ssize_t ReplayKernel::doWrite(int fd, const void* buf, size_t n) {
  std::lock_guard<std::recursive_mutex> g(mutex);
  const RecLine& l = expect(words.write(fd, buf, n));
  if (failed(l)) return -1;
  long long r = static_cast<long long>(n);
  if (!l.answer.empty() && (!wholeNumber(l.answer, &r) || r > static_cast<long long>(n))) unreadable(l);
  return static_cast<ssize_t>(r);
}

int ReplayKernel::ioctlAnswer(const RecLine& l, int fd, unsigned long request, void* arg) {
  if (failed(l)) return -1;
  bool taken = true;
  if (words.isFpga(fd) && request == ReqWords::FPGA_RD && arg) {
    char* end = nullptr;
    unsigned long v = strtoul(l.answer.c_str(), &end, 16);
    taken = l.answer.rfind("0x", 0) == 0 && end && *end == '\0';
    static_cast<ReqWords::FpgaRecord*>(arg)->val = static_cast<uint32_t>(v);
  } else if (words.adapterOf(fd) >= 0 && arg && request == I2C_FUNCS) {
    char* end = nullptr;
    *static_cast<unsigned long*>(arg) = strtoul(l.answer.c_str(), &end, 16);
    taken = l.answer.rfind("0x", 0) == 0 && end && *end == '\0';
  } else if (words.adapterOf(fd) >= 0 && arg && request == I2C_SMBUS) {
    taken = smbusTakeAnswer(l.answer, static_cast<i2c_smbus_ioctl_data*>(arg));
  } else if (words.adapterOf(fd) >= 0 && arg && request == I2C_RDWR) {
    auto* d = static_cast<i2c_rdwr_ioctl_data*>(arg);
    if (!takeRdwr(l.answer, d)) unreadable(l);
    return static_cast<int>(d->nmsgs);
  } else {
    long long r = 0;
    if (!l.answer.empty() && !wholeNumber(l.answer, &r)) unreadable(l);
    return static_cast<int>(r);
  }
  if (!taken) unreadable(l);
  return 0;
}

int ReplayKernel::doIoctl(int fd, unsigned long request, void* arg) {
  std::lock_guard<std::recursive_mutex> g(mutex);
  const RecLine& l = expect(words.ioctl(fd, request, arg));
  int r = ioctlAnswer(l, fd, request, arg);
  words.ioctlDone(fd, request, arg, r);
  return r;
}

// The driver's buffer held nothing the program reads: memory of its own stands in for it.
void* ReplayKernel::doMmap(size_t len, int prot, int flags, int fd, off_t offset) {
  std::lock_guard<std::recursive_mutex> g(mutex);
  const RecLine& l = expect(words.mmap(fd, len, offset));
  if (failed(l)) return MAP_FAILED;
  if (!l.answer.empty()) unreadable(l);
  return ::mmap(nullptr, len, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
}

int ReplayKernel::doMunmap(void* addr, size_t len) { return ::munmap(addr, len); }

int ReplayKernel::doSleepUs(long long us) {
  std::lock_guard<std::recursive_mutex> g(mutex);
  const RecLine& l = expect(ReqWords::sleep(us));
  if (failed(l)) return -1;
  if (!l.answer.empty()) unreadable(l);
  return realTime ? Kernel::doSleepUs(us) : 0;
}

int ReplayKernel::doClockGet(clockid_t id, struct timespec* t) {
  std::lock_guard<std::recursive_mutex> g(mutex);
  const RecLine& l = expect(ReqWords::clock(id));
  if (failed(l)) return -1;
  size_t dot = l.answer.find('.');
  long long sec, nsec;
  if (dot == std::string::npos || l.answer.size() != dot + 10 || !wholeNumber(l.answer.substr(0, dot), &sec) ||
      !wholeNumber(l.answer.substr(dot + 1), &nsec))
    unreadable(l);
  t->tv_sec = static_cast<time_t>(sec);
  t->tv_nsec = static_cast<long>(nsec);
  return 0;
}

void ReplayKernel::doLockNote(bool take, const char* name, int err) {
  std::lock_guard<std::recursive_mutex> g(mutex);
  const std::string asked = withAnswer(ReqWords::lock(take, name), err ? errName(err) : "");
  if (next < rec.lines.size() && withAnswer(rec.lines[next].request, rec.lines[next].answer) != asked)
    stop(withAnswer(rec.lines[next].request, rec.lines[next].answer), asked);
  expect(ReqWords::lock(take, name));
}
