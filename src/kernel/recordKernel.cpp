#include "recordKernel.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "kernelText.h"

#ifndef DIAG_VERSION
#define DIAG_VERSION "unknown"
#endif

namespace {
const char* const RECORD_ENV = "DIAG_RECORD";
// Set by a recorded process for the processes it starts: they record beside it.
const char* const PARENT_ENV = "DIAG_RECORD_PARENT";
// The environment the program reads: a replay needs it as it was.
const char* const KEPT_ENV[] = {"DIAG_EXIT_STATUS"};

int progArgc = 0;
char** progArgv = nullptr;
RecordKernel* recorder = nullptr;

// glibc hands each initialiser in .init_array the program's arguments, as it
// hands them to main. With a recording asked for, the door opens here, before
// any output: the recording's head comes first, and so does the one line that
// says it cannot be written.
void atStart(int argc, char** argv, char**) {
  progArgc = argc;
  progArgv = argv;
  const char* path = getenv(RECORD_ENV);
  if (path && *path) kernel();
}
__attribute__((section(".init_array"), used)) void (*const atStartEntry)(int, char**, char**) = atStart;

void atEnd() {
  if (recorder) recorder->finish();
}

// "2026-11-25 18:40:12.123456 +0100": the wall clock and the zone the program's own times are shown in.
std::string startText(const struct timespec& real) {
  struct tm local;
  time_t sec = real.tv_sec;
  localtime_r(&sec, &local);
  char date[32], rest[48];
  strftime(date, sizeof date, "%Y-%m-%d %H:%M:%S", &local);
  long off = local.tm_gmtoff, a = off < 0 ? -off : off;
  snprintf(rest, sizeof rest, ".%06ld %c%02ld%02ld", real.tv_nsec / 1000, off < 0 ? '-' : '+', a / 3600, a % 3600 / 60);
  return std::string(date) + rest;
}

const char* baseName(const char* path) {
  const char* slash = strrchr(path, '/');
  return slash ? slash + 1 : path;
}
}  // namespace

Kernel& recordedIfAsked(Kernel& k) {
  const char* path = getenv(RECORD_ENV);
  if (!path || !*path) return k;
  const char* parent = getenv(PARENT_ENV);
  std::string file = path;
  if (parent && *parent) file += "." + std::to_string(getpid());
  // Never freed: the door lives as long as the process, its last line included.
  RecordKernel* r = new RecordKernel(k);
  if (!r->start(file, progArgc, progArgv, parent)) {
    delete r;
    return k;
  }
  recorder = r;
  setenv(PARENT_ENV, std::to_string(getpid()).c_str(), 1);
  atexit(atEnd);
  return *r;
}

bool RecordKernel::start(const std::string& path, int argc, char** argv, const char* parent) {
  const char* who = argc > 0 && argv && argv[0] ? baseName(argv[0]) : "diag";
  if (!sink.open(path.c_str(), who, "the recording", false)) return false;
  startedAt = now();
  struct timespec real;
  clock_gettime(CLOCK_REALTIME, &real);
  std::string head = "diag recording 1\nversion " DIAG_VERSION " built " __DATE__ " " __TIME__ "\nargs";
  for (int i = 0; i < argc && argv; ++i) head += " " + quoted(argv[i]);
  head += "\n";
  for (const char* name : KEPT_ENV)
    if (const char* v = getenv(name)) head += std::string("env ") + name + " " + quoted(v) + "\n";
  head += "start " + startText(real) + "\npid " + std::to_string(getpid()) + "\n";
  if (parent && *parent) head += "parent " + quoted(parent) + "\n";
  return sink.put(head);
}

void RecordKernel::finish() {
  std::lock_guard<std::mutex> g(mutex);
  sink.put("end\n", 4);
}

struct timespec RecordKernel::now() {
  struct timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return t;
}

void RecordKernel::put(const struct timespec& at, const std::string& line) {
  long long ns = (at.tv_sec - startedAt.tv_sec) * 1000000000LL + (at.tv_nsec - startedAt.tv_nsec);
  char stamp[48];
  int n = snprintf(stamp, sizeof stamp, "%lu %lld.%06lld ", ++count, ns / 1000000000LL, ns % 1000000000LL / 1000);
  std::string whole;
  whole.reserve(static_cast<size_t>(n) + line.size() + 1);
  whole.append(stamp, static_cast<size_t>(n)).append(line) += '\n';
  sink.put(whole);
}

// Passes one request on and writes its line. The request's words are taken
// before it (an ioctl's record as the program gave it), the answer's after it,
// with what the request changed (a descriptor opened, an address set).
template <typename Result, typename Ask, typename Call, typename Answer>
Result RecordKernel::pass(Ask ask, Call call, Answer answer) {
  struct timespec at = now();
  std::string request;
  {
    std::lock_guard<std::mutex> g(mutex);
    request = ask();
  }
  Result r = call();
  int err = errno;
  {
    std::lock_guard<std::mutex> g(mutex);
    put(at, withAnswer(request, answer(r, err)));
  }
  errno = err;
  return r;
}

int RecordKernel::doOpen(const char* path, int flags) {
  return pass<int>([&] { return words.open(path, flags); }, [&] { return inner.open(path, flags); },
                   [&](int fd, int err) {
                     words.opened(fd, path);
                     return ReqWords::openAnswer(fd, err);
                   });
}

int RecordKernel::doClose(int fd) {
  return pass<int>([&] { return words.close(fd); }, [&] { return inner.close(fd); },
                   [&](int r, int err) {
                     if (r == 0) words.closed(fd);
                     return ReqWords::failedOr(r, err);
                   });
}

ssize_t RecordKernel::doRead(int fd, void* buf, size_t n) {
  return pass<ssize_t>([&] { return words.read(fd, n); }, [&] { return inner.read(fd, buf, n); },
                       [&](ssize_t r, int err) { return words.readAnswer(fd, buf, r, err); });
}

ssize_t RecordKernel::doWrite(int fd, const void* buf, size_t n) {
  return pass<ssize_t>([&] { return words.write(fd, buf, n); }, [&] { return inner.write(fd, buf, n); },
                       [&](ssize_t r, int err) { return ReqWords::writeAnswer(n, r, err); });
}

int RecordKernel::doIoctl(int fd, unsigned long request, void* arg) {
  return pass<int>([&] { return words.ioctl(fd, request, arg); }, [&] { return inner.ioctl(fd, request, arg); },
                   [&](int r, int err) {
                     std::string answer = words.ioctlAnswer(fd, request, arg, r, err);
                     words.ioctlDone(fd, request, arg, r);
                     return answer;
                   });
}

void* RecordKernel::doMmap(size_t len, int prot, int flags, int fd, off_t offset) {
  return pass<void*>([&] { return words.mmap(fd, len, offset); }, [&] { return inner.mmap(len, prot, flags, fd, offset); },
                     [&](void* p, int err) { return p == MAP_FAILED ? errName(err) : ""; });
}

// The program's own memory: nothing the instrument answers.
int RecordKernel::doMunmap(void* addr, size_t len) { return inner.munmap(addr, len); }

int RecordKernel::doSleepUs(long long us) {
  return pass<int>([&] { return ReqWords::sleep(us); }, [&] { return inner.sleepUs(us); }, ReqWords::failedOr);
}

int RecordKernel::doClockGet(clockid_t id, struct timespec* t) {
  return pass<int>([&] { return ReqWords::clock(id); }, [&] { return inner.clockGet(id, t); },
                   [&](int r, int err) { return ReqWords::clockAnswer(*t, r, err); });
}

void RecordKernel::doLockNote(bool take, const char* name, int err) {
  pass<int>([&] { return ReqWords::lock(take, name); }, [] { return 0; },
            [&](int, int) { return err ? errName(err) : std::string(); });
}
