#pragma once
#include <map>
#include <memory>
#include <vector>

#include "diagStatus.h"
#include "i2cDevMap.h"
#include "reg.h"

typedef I2cDevNameMap::const_iterator I2cDevItr;

// A page's commands in command order, each with its register's index in regVec.
typedef std::map<unsigned char, int> FanCtlrCmdMap;
typedef std::map<unsigned char, FanCtlrCmdMap> FanCtlrPageMap;

// The MAX31785 fan controller "fctl": its PMBus commands as a table of
// registers grouped by page, paged reads and writes, the table's dump.
// Each operation has registers of its own, none read at its start: no value
// persists between operations (the table's layout is built once).
// The table enters the page-0 manufacturer fan registers twice; the page map
// reaches the later entry, and the dump shows each register once, from that
// entry. A register the walk did not read is shown as not read, never as a
// value: a failed read ends the walk, since the chip has stopped answering.
class FanCtlr {
public:
  explicit FanCtlr(I2cDevMap& devs);
  E_STATUS rdFanCtlrReg(unsigned char page, unsigned char offset, unsigned short* pDatum);
  E_STATUS wrFanCtlrReg(unsigned char page, unsigned long numBytes, unsigned char offset, unsigned short datum);
  E_STATUS rdFanCtlrRegs();
  E_STATUS dispFanCtlrRegs();
  // Whether the last walk read any register at all.
  bool anyRead() const;
  E_STATUS regWrWithRdBack(I2cDevItr itr, unsigned char page, unsigned char offset, unsigned long numBytesToWrite,
                           unsigned short* pDatum);
  E_STATUS lclRdFanCtlrReg(I2cDevItr itr, unsigned char page, unsigned char offset, unsigned long numBytesToRead,
                           unsigned short* pDatum);
  E_STATUS lclWrFanCtlrReg(I2cDevItr itr, unsigned char page, unsigned char offset, unsigned long numBytesToWrite,
                           unsigned short* pDatum);
  void fanCtlrLogging(bool on) { sysLoggingOn = on; }

  std::vector<Reg> regVec;
  const FanCtlrPageMap& pageMap;  // the same for every operation: built once
  bool sysLoggingOn = false;

private:
  I2cDevMap& devs;
  const Reg* find(unsigned char page, unsigned char offset) const;
  E_STATUS pagedRead(I2cDevItr itr, unsigned char page, unsigned char offset, unsigned long numBytesToRead,
                     unsigned short* pDatum);
  bool reached(size_t ndx) const;
  std::vector<bool> regRead;  // by regVec index: the walk read it
  E_STATUS selectPage(I2cDevItr itr, unsigned char page);
};

// For the test framework: reads the whole table once.
E_STATUS tstAxs2FctlrRegs(I2cDevMap& devs);

// PMBus commands the program uses by name.
constexpr unsigned char FC_PAGE = 0x00;
constexpr unsigned char FC_CLEAR_FAULTS = 0x03;
constexpr unsigned char FC_FAN_COMMAND_1 = 0x3B;
constexpr unsigned char FC_STATUS_FANS_1_2 = 0x81;
constexpr unsigned char FC_READ_FAN_SPEED_1 = 0x90;
constexpr unsigned char FC_MFR_FAN_FAULT_LIMIT = 0xF5;
// The controller's PMBus pages: fans 0-5, temperature sensors 6-16, voltage monitors 17-22.
constexpr unsigned char FC_MAX_PAGE = 22;
constexpr unsigned char FC_FAN_PAGES = 6;
