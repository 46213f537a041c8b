// diag-simctl load-recording FILE: the simulated instrument is set to where a
// recorded instrument was, as far as the recording shows it. The board and its
// revision are the configuration whose system files answer as the recorded
// ones did; every I2C transfer is carried out on the chips, each read's bytes
// learnt by the chip that gave them; every FPGA word read or written is stored
// as it was read or written (without starting the engines a write starts).
#include "recordingLoad.h"

#include <cstdlib>
#include <algorithm>
#include <cstring>
#include <map>
#include <vector>

#include "fpgaEngine.h"
#include "i2cBus.h"
#include "i2cSmbusXfer.h"
#include "kernelText.h"
#include "recording.h"
#include "simCtl.h"
#include "simState.h"
#include "sysfs.h"

namespace sim {

namespace {
const char* const BOARD_REV_FILE = "/vesta/diags/boardrev.txt";
const char* const REVISION_FILE = "/vesta/diags/revision.txt";

struct Counts {
  unsigned i2c = 0, fpga = 0, failed = 0;
};

// A system file as the recorded program found it: there or not, and what its reads gave.
struct SysSeen {
  bool exists;
  bool read = false;
  std::string text;
};

bool failed(const RecLine& l) { return errNumber(l.answer) != 0; }

std::map<std::string, SysSeen> sysSeen(const Recording& rec) {
  std::map<std::string, SysSeen> seen;
  std::vector<std::string> w, a;
  for (const RecLine& l : rec.lines) {
    if (!splitWords(l.request, &w) || w.size() < 3 || w[1].rfind("/dev/", 0) == 0) continue;
    if (w[0] == "open") {
      SysSeen& s = seen[w[1]];
      s = {!failed(l)};
    } else if (w[0] == "read" && seen.count(w[1]) && splitWords(l.answer, &a) && a.size() == 2) {
      seen[w[1]].read = true;
      seen[w[1]].text += a[1];
    }
  }
  return seen;
}

bool agrees(const SimState& s, const std::map<std::string, SysSeen>& seen) {
  for (const auto& [path, was] : seen) {
    std::string text;
    bool dir;
    if (sysFileLookup(s, path, &text, &dir) != was.exists || (was.read && !dir && text != was.text)) return false;
  }
  return true;
}

// The configuration that answers as the recorded instrument did; false (the
// configuration unchanged) when none does.
bool configure(SimState& s, const std::map<std::string, SysSeen>& seen) {
  const BoardConfig before = s.cfg;
  auto rev = seen.find(BOARD_REV_FILE);
  if (rev != seen.end() && rev->second.read) s.cfg.rev = static_cast<uint32_t>(atoi(rev->second.text.c_str()));
  auto revision = seen.find(REVISION_FILE);
  if (revision != seen.end() && (revision->second.read || !revision->second.exists))
    snprintf(s.revisionText, sizeof s.revisionText, "%s", revision->second.text.c_str());
  for (uint32_t board = BOARD_MAIN; board <= BOARD_MAIN_REF; ++board)
    for (unsigned variants = 0; variants < (1u << SW_COUNT); ++variants) {
      s.cfg.board = board;
      for (int sw = 0; sw < SW_COUNT; ++sw) s.cfg.swVariant[sw] = (variants >> sw) & 1 ? SW_PLAIN : SW_APW;
      if (agrees(s, seen)) return true;
    }
  s.cfg = before;
  return false;
}

bool byteWords(const std::vector<std::string>& w, size_t from, std::vector<uint8_t>* out) {
  std::string text;
  for (size_t k = from; k < w.size(); ++k) text += (k > from ? " " : "") + w[k];
  return parseHexBytes(text, out);
}

// "smbus read word_data cmd 0x90", "smbus write block_data cmd 0x05 data 05 34 12": the request, its data set.
bool smbusRequest(const std::vector<std::string>& w, i2c_smbus_ioctl_data* r) {
  int size = w.size() >= 5 ? smbusSizeOf(w[4]) : -1;
  if (size < 0 || (w[3] != "read" && w[3] != "write")) return false;
  r->read_write = w[3] == "read" ? I2C_SMBUS_READ : I2C_SMBUS_WRITE;
  r->size = static_cast<__u32>(size);
  memset(r->data, 0, sizeof *r->data);
  unsigned long v;
  size_t k = 5;
  if (k + 1 < w.size() && w[k] == "cmd" && parseNum(w[k + 1], &v)) {
    r->command = static_cast<__u8>(v);
    k += 2;
  }
  if (k + 1 < w.size() && w[k] == "len" && parseNum(w[k + 1], &v) && v <= I2C_SMBUS_BLOCK_MAX) {
    r->data->block[0] = static_cast<__u8>(v);
    k += 2;
  }
  if (k == w.size()) return true;
  if (w[k] != "data" || k + 1 >= w.size()) return false;
  if (size == I2C_SMBUS_WORD_DATA || size == I2C_SMBUS_PROC_CALL) {
    if (k + 2 != w.size() || w[k + 1].size() != 4 || !parseNum("0x" + w[k + 1], &v)) return false;
    r->data->word = static_cast<__u16>(v);
    return true;
  }
  std::vector<uint8_t> b;
  if (!byteWords(w, k + 1, &b) || b.size() > I2C_SMBUS_BLOCK_MAX) return false;
  if (size == I2C_SMBUS_BYTE_DATA) {
    r->data->byte = b.empty() ? 0 : b[0];
    return b.size() == 1;
  }
  r->data->block[0] = static_cast<__u8>(b.size());
  if (!b.empty()) memcpy(&r->data->block[1], b.data(), b.size());
  return true;
}

// The parts of a text between its " ; " separators.
std::vector<std::string> parts(const std::string& text) {
  std::vector<std::string> out;
  for (size_t start = 0, end; start <= text.size(); start = end + 3) {
    end = std::min(text.find(" ; ", start), text.size());
    out.push_back(text.substr(start, end - start));
  }
  return out;
}

// "i2c-2 rdwr 0x71 write 02 ; 0x71 read 1 -> 02": each message, those to one
// address as one transaction, the reads' bytes learnt by the chips that gave them.
int rdwrLine(SimState& s, int adapter, const RecLine& l) {
  const std::vector<std::string> msgs = parts(l.request.substr(l.request.find(" rdwr ") + 6));
  const std::vector<std::string> answers = parts(l.answer);
  std::vector<std::vector<uint8_t>> bytes(msgs.size());
  std::vector<I2cMsg> xfer;
  std::vector<unsigned long> addrs;
  size_t nextAnswer = 0;
  std::vector<std::string> w;
  for (size_t k = 0; k < msgs.size(); ++k) {
    unsigned long addr;
    if (!splitWords(msgs[k], &w) || w.size() < 3 || !parseNum(w[0], &addr)) return -1;
    bool read = w[1] == "read";
    if (read ? nextAnswer >= answers.size() || !parseHexBytes(answers[nextAnswer++], &bytes[k])
             : w[1] != "write" || !byteWords(w, 2, &bytes[k]))
      return -1;
    xfer.push_back({read, bytes[k].data(), bytes[k].size()});
    addrs.push_back(addr);
  }
  for (size_t i = 0, end; i < xfer.size(); i = end) {
    for (end = i; end < xfer.size() && addrs[end] == addrs[i]; ++end) {
    }
    if (i2cLearn(s, adapter, static_cast<int>(addrs[i]), &xfer[i], end - i) != 0) return -1;
  }
  return 0;
}

// "i2c-2 0x71 write 04", "i2c-2 0x50 read 16 -> ...", "i2c-2 0x52 smbus ...", a combined transfer: the
// transfer, as the chips saw it.
void i2cLine(SimState& s, const std::vector<std::string>& w, const RecLine& l, Counts& n) {
  int adapter = atoi(w[0].c_str() + 4);
  if (w.size() > 2 && w[1] == "rdwr") {
    if (failed(l))
      ++n.failed;
    else if (rdwrLine(s, adapter, l) == 0)
      ++n.i2c;
    return;
  }
  unsigned long addr;
  if (w.size() < 3 || w[1].rfind("0x", 0) != 0 || !parseNum(w[1], &addr)) return;
  if (failed(l)) {
    ++n.failed;
    return;
  }
  std::vector<uint8_t> b;
  int rc = -1;
  if (w[2] == "write" && byteWords(w, 3, &b)) {
    I2cMsg m{false, b.data(), b.size()};
    rc = i2cLearn(s, adapter, static_cast<int>(addr), &m, 1);
  } else if (w[2] == "read" && parseHexBytes(l.answer, &b)) {
    I2cMsg m{true, b.data(), b.size()};
    rc = i2cLearn(s, adapter, static_cast<int>(addr), &m, 1);
  } else if (w[2] == "smbus") {
    i2c_smbus_data d;
    i2c_smbus_ioctl_data r{};
    r.data = &d;
    if (smbusRequest(w, &r) && smbusTakeAnswer(l.answer, &r)) rc = smbusLearn(s, {adapter, static_cast<int>(addr)}, r);
  }
  if (rc == 0) ++n.i2c;
}

// "fpga rd reg 0x0010 -> 0x1234", "fpga wr obuf 0x3ffe 0x1234": the word stored as it was.
// The output buffer answers a read with the word of the read before it.
void fpgaLine(SimState& s, const std::vector<std::string>& w, const RecLine& l, Counts& n, long* obufPrev) {
  int space = w.size() >= 4 ? spaceArg(w[2]) : 0;
  unsigned long addr, v;
  bool rd = w[1] == "rd";
  if (!space || !parseNum(w[3], &addr) || !parseNum(rd ? l.answer : w.size() > 4 ? w[4] : "", &v)) return;
  long at = static_cast<long>(addr);
  if (rd && space == SP_OBUF) std::swap(at, *obufPrev);
  if (uint16_t* word = at >= 0 ? storedWord(s, space, presentedFpga(s), static_cast<uint32_t>(at)) : nullptr) {
    *word = static_cast<uint16_t>(v);
    ++n.fpga;
  }
}
}  // namespace

int loadRecording(SimState& s, const std::string& file, std::string& out) {
  Recording rec;
  std::string why;
  if (!readRecording(file, &rec, &why)) {
    out = "load-recording: " + why + "\n";
    return 2;
  }
  bool known = configure(s, sysSeen(rec));
  Counts n;
  long obufPrev = -1;
  std::vector<std::string> w;
  for (const RecLine& l : rec.lines) {
    if (!splitWords(l.request, &w) || w.size() < 2) continue;
    if (w[0].rfind("i2c-", 0) == 0) i2cLine(s, w, l, n);
    else if (w[0] == "fpga" && (w[1] == "rd" || w[1] == "wr")) fpgaLine(s, w, l, n, &obufPrev);
  }
  out = std::string(known ? "" : "no board of the simulator answers as the recorded one did: the configuration is kept\n") +
        "board " + boardName(s.cfg.board) + ", rev " + std::to_string(s.cfg.rev) + ": " + std::to_string(n.i2c) +
        " I2C transfers and " + std::to_string(n.fpga) + " FPGA words taken from " + file + " (" +
        std::to_string(n.failed) + " failed transfers left out)\n";
  return 0;
}

}  // namespace sim
