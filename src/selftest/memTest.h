#pragma once
#include "walkTest.h"

// A test of an area of main memory.
template <typename W>
class MemTest : public WalkTest<W> {
public:
  MemTest(std::string nm, std::string helpString, unsigned int startAddr, unsigned int sz, bool rprt, bool contOnErr)
      : WalkTest<W>(std::move(nm), std::move(helpString), rprt, contOnErr), startAddr(startAddr), sz(sz) {}
  W* pMem = nullptr;
  unsigned int startAddr;
  unsigned int sz;
};

// Tests the data lines of a memory bus through one word.
class DataLineMemTest : public MemTest<unsigned int> {
public:
  using MemTest::MemTest;
  virtual void wrrd() = 0;
};

// The data lines of the DDR3 main memory, through the word at pMem.
class DDR3DataLineMemTest : public DataLineMemTest {
public:
  DDR3DataLineMemTest(std::string nm, std::string helpString, volatile unsigned int* word, unsigned int sz, bool rprt,
                      bool contOnErr);

protected:
  std::span<const OptDecl* const> options() const override { return loopTestOpts; }
  E_STATUS run(const Args& args) override;
  void wrrd() override;

private:
  volatile unsigned int* word;
};

// The word of main memory that the DDR3 data-line test uses as its probe location.
extern volatile unsigned int arbitraryMemLocation;
