#include "gpmcDevStat.h"

E_STATUS GpmcDevStat::readBit(unsigned long offset, unsigned short bit, bool* isSet) {
  unsigned short v;
  E_STATUS status = reg.regRd(&v, offset);
  if (status == SUCCESS) *isSet = (v & bit) != 0;
  return status;
}

E_STATUS GpmcDevStat::shAllOK(bool* ok) { return readBit(GPMC_MISC_CTL_STAT, MISC_SH_OK, ok); }
E_STATUS GpmcDevStat::msSysAllOK(bool* ok) { return readBit(GPMC_MISC_CTL_STAT, MISC_MS_SYS_ALL_OK, ok); }
E_STATUS GpmcDevStat::mnSysAllOK(bool* ok) { return readBit(GPMC_MH_MISC_STAT, MH_STAT_SYS_ALL_OK, ok); }
E_STATUS GpmcDevStat::mhAllOK(bool* ok) { return readBit(GPMC_MH_MISC_CTL, MH_MISC_MH_OK, ok); }

E_STATUS GpmcDevStat::isDataStrmEnabled(bool* enabled, bool* running) {
  unsigned short v;
  E_STATUS status = reg.regRd(&v, GPMC_WF_CTL);
  if (status != SUCCESS) return status;
  *enabled = (v & WF_DATA_STREAM) != 0;
  *running = (v & WF_WAVE_RUN) != 0;
  return SUCCESS;
}

E_STATUS GpmcDevStat::setSHOK(bool ok) { return reg.setResetBits(GPMC_MISC_CTL_STAT, MISC_SH_OK, ok); }
E_STATUS GpmcDevStat::setMHOK(bool ok) { return reg.setResetBits(GPMC_MH_MISC_CTL, MH_MISC_MH_OK, ok); }
E_STATUS GpmcDevStat::setSHDogEn(bool on) { return reg.setResetBits(GPMC_ALL_OK_STAT_CTL, ALL_OK_DOG_EN, on); }
E_STATUS GpmcDevStat::setMHDogEn(bool on) { return reg.setResetBits(GPMC_MH_ALL_OK_STAT_CTL, ALL_OK_DOG_EN, on); }
E_STATUS GpmcDevStat::tickleDog(bool forMainHost) {
  return reg.regWrWithRdBack(0, forMainHost ? GPMC_MH_DOG_TICKLE : GPMC_SH_DOG_TICKLE, false);
}
