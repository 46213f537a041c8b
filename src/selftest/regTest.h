#pragma once
#include "keyInput.h"
#include "log.h"
#include "processEnd.h"
#include "test.h"
#include "walkTest.h"

// Walks a single one and then a single zero through every bit of one
// read-write register, for a number of loops, comparing what reads back under
// the register's mask. A device test supplies the three accesses.
template <typename T>
class RegTest : public WalkTest<T> {
public:
  RegTest(std::string nm, std::string helpString, T mask, bool rprt, bool contOnErr, unsigned int regAddr)
      : WalkTest<T>(std::move(nm), std::move(helpString), rprt, contOnErr), regAddr(regAddr), mask(mask) {}
  // The walk's flags and words, by their plain names in the walk below.
  using WalkTest<T>::rprt, WalkTest<T>::contOnErr, WalkTest<T>::wrDatum, WalkTest<T>::rdDatum, WalkTest<T>::ORValue;

  virtual void rd(T* value) = 0;
  virtual void wr(T* value) = 0;
  virtual void wrrd(T* wrValue, T* rdValue, T mask) = 0;
  void setErrCd(T code) { errCd = code; }

  T* pReg = nullptr;
  T errCd = 0;
  unsigned int regAddr;
  T mask;

protected:
  std::span<const OptDecl* const> options() const override { return loopTestOpts; }
  E_STATUS run(const Args& args) override;

private:
  static constexpr int N = 8 * sizeof(T);
  E_STATUS walk(unsigned long loop, E_STATUS status);
};

template <typename T>
E_STATUS RegTest<T>::walk(unsigned long loop, E_STATUS status) {
  const T firstPattern[2] = {1, static_cast<T>(~static_cast<T>(1))};
  for (int pass = 0; pass < 2; ++pass) {
    wrDatum = firstPattern[pass];
    ORValue = static_cast<T>(pass);
    // The status itself gates the steps: after a mismatch no further step runs.
    for (int step = 0; step < N && status == SUCCESS; ++step) {
      wrrd(&wrDatum, &rdDatum, mask);
      if ((rdDatum ^ wrDatum) & mask) {
        status = FAILURE;
        if (rprt)
          log(LOG_TERM, "walk:  offset 0x%08x (loop %lu):  exp= 0x%08x, act= 0x%08x\r\n", regAddr, loop,
              static_cast<unsigned>(wrDatum & mask), static_cast<unsigned>(rdDatum & mask));
      }
      wrDatum = static_cast<T>((wrDatum << 1) | ORValue);
    }
  }
  return status;
}

template <typename T>
E_STATUS RegTest<T>::run(const Args& args) {
  E_STATUS status = SUCCESS;
  const unsigned long loops = args.num(loopOpt, 1);
  contOnErr = args.has(coeOpt);
  log(LOG_TERM, "%s - testing location 0x%08x\n", "runTest", regAddr);
  if (loops == 0) {
    log(LOG_TERM, "%s - looping inifinitely\n", "runTest");
    log(LOG_TERM, "<CR> to quit\n");
  } else {
    log(LOG_TERM, "%s - looping %lu times\r\n", "runTest", loops);
  }
  T saved = 0;
  rd(&saved);
  unsigned long loop = 0;
  for (;;) {
    // Progress on one terminal line: the accesses made before this loop.
    if (loop >= 10 && loop % 10 == 0) log(LOG_TERM, "\riterations (wrrd) - %lu", loop * 2 * N);
    status = walk(loop, status);
    ++loop;
    if (status != SUCCESS && !contOnErr) break;
    // An interrupt at the prompt ends the loops as a key does.
    if (interrupted() || (loops == 0 ? inputAvailable() != 0 : loop >= loops)) break;
  }
  log(LOG_TERM, "\riterations (wrrd) - %lu\n", loop * 2 * N);
  wr(&saved);
  if (status == SUCCESS) {
    log(LOG_TERM, "PASSED\n");
  } else {
    log(LOG_TERM, "FAILED\n");
    if (errCd) log(LOG_TERM, "!%04X\n", static_cast<unsigned>(errCd));
  }
  return status;
}
