#include "i2cEeprom.h"

#include <cstring>
#include <vector>

#include "boardIdLayout.h"

#include "i2cDevUtil.h"
#include "kernel.h"
#include "log.h"

namespace {
constexpr long long POLL_US = 1000;
}

std::vector<std::string> I2cEeprom::names(I2cDevMap& devs) {
  std::vector<std::string> out;
  for (const auto& [n, dev] : devs.devices())
    if (dev->boardIdMem) out.push_back(n);
  return out;
}

E_STATUS I2cEeprom::rd(unsigned offset, unsigned char* buf, size_t n, bool quiet) {
  I2cDevUtil util(devs, name, true);
  if (util.stat() != SUCCESS) return util.stat();
  const char addr[2] = {static_cast<char>(offset >> 8), static_cast<char>(offset & 0xFF)};
  int done = 0;
  E_STATUS st = util.dev()->wrBytes(addr, 2, &done, quiet);
  if (st != SUCCESS) return st;
  if (util.dev()->rdBytes(reinterpret_cast<char*>(buf), n, &done, 1) == SUCCESS) return SUCCESS;
  if (!quiet) LOGERR(LOG_TERM, "unable to read %zu bytes of %s at 0x%03x\n", n, name.c_str(), offset);
  return FAILURE;
}

E_STATUS I2cEeprom::rdIdentity(unsigned char* img, bool quiet) {
  memset(img, 0xFF, boardId::IMAGE_BYTES);
  if (E_STATUS st = rd(0, img, boardId::STREAM_OFF, quiet); st != SUCCESS) return st;
  unsigned len = (img[boardId::LENGTH_OFF] << 8) | img[boardId::LENGTH_OFF + 1];
  if (len == 0 || len > boardId::MAX_STREAM) return SUCCESS;  // the decoder says what is wrong
  return rd(boardId::STREAM_OFF, img + boardId::STREAM_OFF, len, quiet);
}

E_STATUS I2cEeprom::wrPage(unsigned offset, const unsigned char* buf, size_t n) {
  polls = 0;
  if (n == 0 || offset % PAGE + n > PAGE) {
    LOGERR(LOG_TERM, "%zu bytes at 0x%03x do not fit in one page of %s\n", n, offset, name.c_str());
    return BAD_PARAMETER;
  }
  I2cDevUtil util(devs, name, true);
  if (util.stat() != SUCCESS) return util.stat();
  std::vector<char> out = {static_cast<char>(offset >> 8), static_cast<char>(offset & 0xFF)};
  out.insert(out.end(), buf, buf + n);
  int done = 0;
  E_STATUS st = util.dev()->wrBytes(out, out.size(), &done, 0);
  return st == SUCCESS ? waitWritten(*util.dev(), offset, &polls) : st;
}

E_STATUS I2cEeprom::waitWritten(I2cDev& dev, unsigned ptr, int* polls) {
  // Setting the address pointer stores nothing, and is acknowledged once the
  // write cycle is over.
  const char addr[2] = {static_cast<char>(ptr >> 8), static_cast<char>(ptr & 0xFF)};
  int done = 0;
  for (*polls = 1; *polls <= ACK_POLLS; ++*polls) {
    kernel().sleepUs(POLL_US);
    if (dev.wrBytes(addr, 2, &done, 1) == SUCCESS) return SUCCESS;
  }
  LOGERR(LOG_TERM, "%s did not acknowledge within %d ms of a page write\n", dev.name.c_str(), ACK_POLLS);
  return FAILURE;
}
