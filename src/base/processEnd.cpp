#include "processEnd.h"

#include <signal.h>
#include <stdlib.h>

#include <atomic>
#include <cstring>

namespace {
constexpr int MAX_HOOKS = 8;
void (*hooks[MAX_HOOKS])();
std::atomic<int> hookCount{0};
std::atomic<bool> ran{false};
std::atomic<int> deferDepth{0};
volatile sig_atomic_t deferredSig = 0;
volatile sig_atomic_t catching = 0;
volatile sig_atomic_t noted = 0;

const int endingSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};

bool canWait(int sig) { return sig == SIGINT || sig == SIGTERM || sig == SIGHUP || sig == SIGQUIT; }

void runHooks() {
  if (ran.exchange(true)) return;
  for (int i = hookCount.load() - 1; i >= 0; --i) hooks[i]();
}

void onEndingSignal(int sig) {
  if (sig == SIGINT && catching && !noted) {
    noted = 1;
    return;
  }
  if (canWait(sig) && deferDepth.load() > 0) {
    deferredSig = sig;
    return;
  }
  runHooks();
  signal(sig, SIG_DFL);
  raise(sig);  // delivered when the handler returns, with the default action
}

void install() {
  atexit(runHooks);
  for (int sig : endingSignals) {
    struct sigaction old;
    if (sigaction(sig, nullptr, &old) != 0 || old.sa_handler != SIG_DFL) continue;
    struct sigaction sa = {};
    sa.sa_handler = onEndingSignal;
    sigemptyset(&sa.sa_mask);
    for (int other : endingSignals) sigaddset(&sa.sa_mask, other);
    sa.sa_flags = SA_RESTART;
    sigaction(sig, &sa, nullptr);
  }
}

void installOnce() {
  static const bool installed = (install(), true);
  (void)installed;
}
}  // namespace

void atProcessEnd(void (*fn)()) {
  installOnce();
  int n = hookCount.load();
  if (n < MAX_HOOKS) {
    hooks[n] = fn;
    hookCount.store(n + 1);
  }
}

EndDeferred::EndDeferred() { deferDepth.fetch_add(1); }

EndDeferred::~EndDeferred() {
  if (deferDepth.fetch_sub(1) == 1 && deferredSig) {
    int sig = deferredSig;
    deferredSig = 0;
    raise(sig);
  }
}

void catchInterrupts(bool on) {
  installOnce();
  noted = 0;
  catching = on;
}

bool interrupted() { return noted != 0; }

bool takeInterrupt() {
  bool was = noted != 0;
  noted = 0;
  return was;
}
