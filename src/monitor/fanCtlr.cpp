#include "fanCtlr.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "i2cDevUtil.h"
#include "kernel.h"
#include "log.h"

namespace {
constexpr useconds_t PMBUS_GAP_US = 2000;  // the controller needs a pause between transfers
const unsigned char FAN_PAGES[] = {0, 1, 2, 3, 4, 5};

struct RegRow {
  const char* name;
  unsigned char cmd;
  unsigned int width;
  int pages;  // ALL_FAN_PAGES: one entry on each fan page 0..5, else the one page
};
constexpr int ALL_FAN_PAGES = -1;

// In table order; the seven page-0 manufacturer fan registers appear twice on
// purpose, and the later copy is the one the page map reaches.
constexpr RegRow rows[] = {
    {"FANCTLR_PAGE", 0x00, 8, ALL_FAN_PAGES},
    {"FANCTLR_FAN_CONFIG_1_2", 0x3A, 8, ALL_FAN_PAGES},
    {"FANCTLR_FAN_COMMAND_1", 0x3B, 16, ALL_FAN_PAGES},
    {"FANCTLR_READ_FAN_SPEED_1", 0x90, 16, ALL_FAN_PAGES},
    {"FANCTLR_MFR_FAULT_RESPONSE", 0xD9, 8, ALL_FAN_PAGES},
    {"FANCTLR_MFR_FAN_CONFIG", 0xF1, 16, ALL_FAN_PAGES},
    {"FANCTLR_MFR_READ_FAN_PWM", 0xF3, 16, ALL_FAN_PAGES},
    {"FANCTLR_MFR_FAN_FAULT_LIMIT", 0xF5, 16, ALL_FAN_PAGES},
    {"FANCTLR_MFR_FAN_WARN_LIMIT", 0xF6, 16, ALL_FAN_PAGES},
    {"FANCTLR_MFR_FAN_RUN_TIME", 0xF7, 16, ALL_FAN_PAGES},
    {"FANCTLR_MFR_FAN_PWM_AVG", 0xF8, 16, ALL_FAN_PAGES},
    {"FANCTLR_WRITE_PROTECT", 0x10, 8, 0},
    {"FANCTLR_CAPABILITY", 0x19, 8, 0},
    {"FANCTLR_VOUT_MODE", 0x20, 8, 0},
    {"FANCTLR_STATUS_BYTE", 0x78, 8, 0},
    {"FANCTLR_STATUS_WORD", 0x79, 16, 0},
    {"FANCTLR_STATUS_CML", 0x7E, 8, 0},
    {"FANCTLR_STATUS_FANS_1_2", 0x81, 8, 0},
    {"FANCTLR_PMBUS_REVISION", 0x98, 8, 0},
    {"FANCTLR_MFR_ID", 0x99, 8, 0},
    {"FANCTLR_MFR_MODEL", 0x9A, 8, 0},
    {"FANCTLR_MFR_REVISION", 0x9B, 16, 0},
    {"FANCTLR_MFR_MODE", 0xD1, 16, 0},
    {"FANCTLR_MFR_FAULT_RESPONSE", 0xD9, 8, 0},
    {"FANCTLR_MFR_FAN_CONFIG", 0xF1, 16, 0},
    {"FANCTLR_MFR_READ_FAN_PWM", 0xF3, 16, 0},
    {"FANCTLR_MFR_FAN_FAULT_LIMIT", 0xF5, 16, 0},
    {"FANCTLR_MFR_FAN_WARN_LIMIT", 0xF6, 16, 0},
    {"FANCTLR_MFR_FAN_RUN_TIME", 0xF7, 16, 0},
    {"FANCTLR_MFR_FAN_PWM_AVG", 0xF8, 16, 0},
    {"FANCTLR_OT_FAULT_LIMIT", 0x4F, 16, 6},
    {"FANCTLR_OT_WARN_LIMIT", 0x51, 16, 6},
    {"FANCTLR_STATUS_MFR_SPECIFIC", 0x80, 8, 6},
    {"FANCTLR_READ_TEMPERATURE_1", 0x8D, 16, 6},
    {"FANCTLR_MFR_TEMPERATURE_PEAK", 0xD6, 16, 6},
    {"FANCTLR_MFR_TEMP_SENSOR_CONFIG", 0xF0, 16, 6},
    {"FANCTLR_VOUT_SCALE_MONITOR", 0x2A, 16, 20},
    {"FANCTLR_VOUT_OV_FAULT_LIMIT", 0x40, 16, 20},
    {"FANCTLR_VOUT_OV_WARN_LIMIT", 0x42, 16, 20},
    {"FANCTLR_VOUT_UV_WARN_LIMIT", 0x43, 16, 20},
    {"FANCTLR_VOUT_UV_FAULT_LIMIT", 0x44, 16, 20},
    {"FANCTLR_STATUS_VOUT", 0x7A, 16, 20},
    {"FANCTLR_READ_VOUT", 0x8B, 16, 20},
    {"FANCTLR_MFR_VOUT_PEAK", 0xD4, 16, 20},
    {"FANCTLR_MFR_VOUT_MIN", 0xD7, 16, 20},
};
// A register is read and written in whole bytes, one or two of them.
static_assert(std::ranges::all_of(rows, [](const RegRow& r) { return r.width == 8 || r.width == 16; }));

// The table as registers and as pages of commands, built on first use: each
// operation starts from a copy of the registers, none of them read.
struct FanCtlrLayout {
  std::vector<Reg> regs;
  FanCtlrPageMap pages;
  FanCtlrLayout() {
    auto add = [&](const RegRow& r, unsigned char page) {
      pages[page][r.cmd] = static_cast<int>(regs.size());
      regs.push_back(Reg{r.name, r.cmd, r.width, 0, false, page, BF, {}});
    };
    for (const RegRow& r : rows) {
      if (r.pages == ALL_FAN_PAGES)
        for (unsigned char p : FAN_PAGES) add(r, p);
      else
        add(r, static_cast<unsigned char>(r.pages));
    }
  }
};

const FanCtlrLayout& layout() {
  static const FanCtlrLayout l;
  return l;
}
}  // namespace

FanCtlr::FanCtlr(I2cDevMap& devs)
    : regVec(layout().regs), pageMap(layout().pages), devs(devs), regRead(regVec.size(), false) {}

const Reg* FanCtlr::find(unsigned char page, unsigned char offset) const {
  auto pg = pageMap.find(page);
  if (pg == pageMap.end()) return nullptr;
  auto cmd = pg->second.find(offset);
  return cmd == pg->second.end() ? nullptr : &regVec[cmd->second];
}

// wrBytes succeeds only when every byte went, and tells a short write itself.
E_STATUS FanCtlr::selectPage(I2cDevItr itr, unsigned char page) {
  char buf[3] = {static_cast<char>(FC_PAGE), static_cast<char>(page), 0};
  int cnt = 0;
  return itr->second->wrBytes(buf, 1, &cnt, 0);
}

// The page select and the command's read, with the pause the controller needs between them.
E_STATUS FanCtlr::pagedRead(I2cDevItr itr, unsigned char page, unsigned char offset, unsigned long numBytesToRead,
                            unsigned short* pDatum) {
  E_STATUS st = selectPage(itr, page);
  if (st != SUCCESS) return st;
  kernel().sleepUs(PMBUS_GAP_US);
  char buf[3] = {static_cast<char>(offset)};
  int cnt = 0;
  st = itr->second->rdBytes(buf, numBytesToRead, &cnt, 1);
  if (st == SUCCESS && cnt == static_cast<int>(numBytesToRead)) {
    *pDatum = static_cast<unsigned char>(buf[0]);
    if (numBytesToRead > 1) *pDatum |= static_cast<unsigned short>(static_cast<unsigned char>(buf[1]) << 8);
  } else if (cnt != static_cast<int>(numBytesToRead)) {
    log(LOG_TERM, "I2C read failed, numBytesToRead= %d, byteCnt= %d\n", static_cast<int>(numBytesToRead), cnt);
    st = FAILURE;
  }
  return st;
}

E_STATUS FanCtlr::lclRdFanCtlrReg(I2cDevItr itr, unsigned char page, unsigned char offset,
                                  unsigned long numBytesToRead, unsigned short* pDatum) {
  E_STATUS st = pagedRead(itr, page, offset, numBytesToRead, pDatum);
  kernel().sleepUs(PMBUS_GAP_US);
  return st;
}

E_STATUS FanCtlr::lclWrFanCtlrReg(I2cDevItr itr, unsigned char page, unsigned char offset,
                                  unsigned long numBytesToWrite, unsigned short* pDatum) {
  if (numBytesToWrite > 2) {
    LOGERR(LOG_TERM, "a fan controller command takes at most 2 data bytes, not %lu\n", numBytesToWrite);
    return BAD_PARAMETER;
  }
  E_STATUS st = selectPage(itr, page);
  if (st != SUCCESS) return st;
  kernel().sleepUs(PMBUS_GAP_US);
  // The command and the whole datum, low byte first, whatever the count sent:
  // a failed write shows the four buffer bytes.
  char buf[4] = {static_cast<char>(offset), static_cast<char>(*pDatum & 0xFF), static_cast<char>(*pDatum >> 8), 0};
  int cnt = 0;
  st = itr->second->wrBytes(buf, numBytesToWrite, &cnt, 0);
  kernel().sleepUs(PMBUS_GAP_US);
  return st;
}

E_STATUS FanCtlr::rdFanCtlrReg(unsigned char page, unsigned char offset, unsigned short* pDatum) {
  // A page and command the controller does not have never reach the bus.
  const Reg* reg = find(page, offset);
  if (!reg) {
    LOGERR(LOG_TERM, "page %d, command 0x%02x is not in the fan controller's register table\n", page, offset);
    return ENTRY_NOT_FOUND;
  }
  I2cDevUtil util(devs, "fctl", true);
  if (util.stat() != SUCCESS) return util.stat();
  return lclRdFanCtlrReg(util.getItr(), page, offset, reg->width / 8, pDatum);
}

E_STATUS FanCtlr::wrFanCtlrReg(unsigned char page, unsigned long numBytes, unsigned char offset, unsigned short datum) {
  I2cDevUtil util(devs, "fctl", true);
  if (util.stat() != SUCCESS) return util.stat();
  return lclWrFanCtlrReg(util.getItr(), page, offset, numBytes, &datum);
}

// Each register is one access of its own, the program-wide semaphore held
// from its page select to its read and given back for the pause after it, so
// that another process waits one register's access, not the whole walk.
E_STATUS FanCtlr::rdFanCtlrRegs() {
  regRead.assign(regVec.size(), false);
  for (const auto& [page, cmds] : pageMap) {
    for (const auto& [cmd, ndx] : cmds) {
      Reg& reg = regVec[ndx];
      unsigned short datum = 0;
      E_STATUS st;
      {
        I2cDevUtil util(devs, "fctl", true);
        st = util.stat();
        if (st == SUCCESS) st = pagedRead(util.getItr(), page, cmd, reg.width / 8, &datum);
      }
      if (st != SUCCESS) return st;
      kernel().sleepUs(PMBUS_GAP_US);
      reg.regContents = datum;
      regRead[ndx] = true;
    }
  }
  return SUCCESS;
}

bool FanCtlr::anyRead() const {
  for (bool r : regRead)
    if (r) return true;
  return false;
}

// Whether the page map leads to this entry: of a register entered twice, only the later.
bool FanCtlr::reached(size_t ndx) const {
  const Reg* r = find(static_cast<unsigned char>(regVec[ndx].page), static_cast<unsigned char>(regVec[ndx].offset));
  return r == &regVec[ndx];
}

E_STATUS FanCtlr::dispFanCtlrRegs() {
  for (size_t i = 0; i < regVec.size(); ++i) {
    const Reg& reg = regVec[i];
    if (reg.offset == 0 || !reached(i)) continue;
    char pgCmd[20];
    snprintf(pgCmd, sizeof pgCmd, "(%02d:0x%02x)", reg.page, reg.offset);
    const std::string dots = dotsTo(strlen(reg.pName), 40);
    if (regRead[i])
      log(LOG_TERM, "%s %s%s0x%04x\n", reg.pName, pgCmd, dots.c_str(), reg.regContents & 0xFFFF);
    else
      log(LOG_TERM, "%s %s%snot read\n", reg.pName, pgCmd, dots.c_str());
  }
  return SUCCESS;
}

E_STATUS FanCtlr::regWrWithRdBack(I2cDevItr itr, unsigned char page, unsigned char offset,
                                  unsigned long numBytesToWrite, unsigned short* pDatum) {
  E_STATUS st = lclWrFanCtlrReg(itr, page, offset, numBytesToWrite, pDatum);
  if (st != SUCCESS) return st;
  unsigned short rd = 0;
  st = lclRdFanCtlrReg(itr, page, offset, numBytesToWrite, &rd);
  if (st != SUCCESS) return st;
  if (rd != *pDatum) {
    log(sysLoggingOn ? LOG_TERM | LOG_SYS : LOG_TERM, "I2C readback failed - reg= 0x%02x, written= 0x%04x, read= 0x%04x\n",
        offset, *pDatum, rd);
    return FAILURE;
  }
  return SUCCESS;
}

E_STATUS tstAxs2FctlrRegs(I2cDevMap& devs) {
  FanCtlr fc(devs);
  return fc.rdFanCtlrRegs();
}
