#include "errCode.h"

#include "log.h"

ErrCode::ErrCode() {
  errMap = {
      {0x070e, "POST - preboot memory tests of CORE RAM"},
      {0x0718, "POST - Signal Host 1   0984 Signal Host EEPROM 24LC32A inaccessible"},
      {0x0719, "POST - Signal Host 1 2 0985 Measure Channel 1 EEPROM 24LC32A inaccessible"},
      {0x071a, "POST - Signal Host 1 3 0985 Measure Channel 2 EEPROM 24LC32A inaccessible"},
      {0x071b, "POST - Signal Host 1 1 0976 H.V. Source PSOC microcontroller - stage 3 CY8C28545 inaccessible"},
      {0x071d, "POST - Signal Host 1 2 0985 Measurement Channel 1 Voltage out of range"},
      {0x071e, "POST - Signal Host 1 3 0985 Measurement Channel 2 Voltage out of range"},
      {0x071f, "POST - Signal Host 1 2 0985 Measurement Channel 1 Acq from diag DAC failure"},
      {0x0720, "POST - Signal Host 1 2 0985 Measurement Channel 2 Acq from diag DAC failure"},
      {0x072f, "Low Volt Src status read/clear/read test failed"},
      {0x1001, "     - Main Host 0     0977 Core Module EEPROM 24LC32A inaccessible"},
      {0x170f, "POST - Main Host 1     0980 Main Host EEPROM 24LC32A inaccessible"},
      {0x1710, "POST - Main Host 1 0   0996 Communications EEPROM 24LC32A inaccessible"},
      {0x1711, "POST - Main Host 1 1   0995 Fan Control EEPROM 24LC32A inaccessible"},
      {0x1712, "POST - Main Host 1 2   0989 Main Reference EEPROM 24LC32A inaccessible"},
      {0x1713, "POST - Main Host 1 3   0970 Back Plane EEPROM 24LC32A inaccessible"},
      {0x1714, "POST - Main Host 1 3 0 1000 SRC/Meas Connector EEPROM 24LC32A inaccessible"},
      {0x1715, "POST - Main Host 1 3 0 0982 Front Panel - SRC/Meas EEPROM 24LC32A inaccessible"},
      {0x1716, "POST - Main Host 1 3 1 0981 Front Panel - Input/Output EEPROM 24LC32A inaccessible"},
      {0x1717, "POST - Main Host 1 3 3 0997 Front Panel - Relay EEPROM 24LC32A inaccessible"},
      {0x1721, "POST - Main Host 1 3   0997 Front Panel Relay Cables faulty connection"},
      {0x1722, "POST - Main Host 1 3   1000 Front Panel SRC/MSMT Connector Cables faulty connection"},
      {0x1723, "POST - SD Card Mismatch"},
      {0x1724, "Ground Continuity not Interruptable"},
      {0x1725, "POST - Line Clock not Detected"},
      {0x1726, "Ethernet - iperf detected dropped packets"},
      {0x1727, "LVS sanity test failed"},
      {0x172a, "Time up test failed"},
      {0x1728, "All Okay test failed"},
      {0x1729, "I2C Scan test failed"},
      {0x1730, "Front FPGA failed to communicate"},
      {0x3731, "Low Volt Src PSC Scratch Pad register test failed"},
  };
  wrnMap = {{0x07c0, "NOR flash corrupt"}};
}

void ErrCode::prCodes() {
  log(LOG_TERM, "Error Codes:\n");
  for (const auto& [code, text] : errMap) log(LOG_TERM, "%04x - %s\n", code, text.c_str());
  log(LOG_TERM, "\n");
  log(LOG_TERM, "Warning Codes:\n");
  for (const auto& [code, text] : wrnMap) log(LOG_TERM, "%04x - %s\n", code, text.c_str());
}
