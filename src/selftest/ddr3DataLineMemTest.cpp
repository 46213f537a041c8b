#include <cstdint>

#include "log.h"
#include "memTest.h"
#include "processEnd.h"

volatile unsigned int arbitraryMemLocation;

DDR3DataLineMemTest::DDR3DataLineMemTest(std::string nm, std::string helpString, volatile unsigned int* word,
                                         unsigned int sz, bool rprt, bool contOnErr)
    : DataLineMemTest(std::move(nm), std::move(helpString),
                      static_cast<unsigned int>(reinterpret_cast<uintptr_t>(word)), sz, rprt, contOnErr),
      word(word) {}

// A store and a load through the memory bus: volatile keeps both.
void DDR3DataLineMemTest::wrrd() {
  *word = wrDatum;
  rdDatum = *word;
}

// -coe is taken and passed over: the walk stops at a mismatch.
E_STATUS DDR3DataLineMemTest::run(const Args& args) {
  E_STATUS status = SUCCESS;
  const unsigned long loops = args.num(loopOpt, 1);
  log(LOG_TERM, "%s - testing location 0x%08x\r\n", "runTest", startAddr);
  log(LOG_TERM, "%s - looping %lu times\r\n", "runTest", loops);
  // A count of 0 runs until the process is stopped, or an interrupt at the prompt stops the test.
  for (unsigned long loop = 0; status == SUCCESS && !interrupted() && (loops == 0 || loop < loops); ++loop) {
    const unsigned int first[2] = {1u, 0xFFFFFFFEu};
    for (int pass = 0; pass < 2 && status == SUCCESS; ++pass) {
      wrDatum = first[pass];
      ORValue = static_cast<unsigned int>(pass);
      for (int step = 0; step < 32 && status == SUCCESS; ++step) {
        wrrd();
        if (rdDatum != wrDatum) {
          status = FAILURE;
          if (rprt)
            log(LOG_TERM, "%s:  memory offset 0x%08x (loop %lu):  exp= 0x%08x, act= 0x%08x\r\n", "runTest",
                startAddr, loop, wrDatum, rdDatum);
        }
        wrDatum = (wrDatum << 1) | ORValue;
      }
    }
  }
  log(LOG_TERM, status == SUCCESS ? "PASSED\r\n" : "FAILED\r\n");
  return status;
}
