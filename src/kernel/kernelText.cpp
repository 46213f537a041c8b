#include "kernelText.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {
struct ErrName {
  int err;
  const char* name;
};
const ErrName ERR_NAMES[] = {
    {EREMOTEIO, "EREMOTEIO"}, {ENXIO, "ENXIO"},     {EINVAL, "EINVAL"},   {EPROTO, "EPROTO"},
    {EOPNOTSUPP, "EOPNOTSUPP"}, {ENOTTY, "ENOTTY"}, {EFAULT, "EFAULT"},   {EBADF, "EBADF"},
    {ENOENT, "ENOENT"},       {EIO, "EIO"},         {ETIMEDOUT, "ETIMEDOUT"}, {EAGAIN, "EAGAIN"},
    {EBUSY, "EBUSY"},         {ENODEV, "ENODEV"},   {ENOMEM, "ENOMEM"},   {EACCES, "EACCES"},
    {EPERM, "EPERM"},         {EISDIR, "EISDIR"},   {ENOTDIR, "ENOTDIR"}, {EINTR, "EINTR"},
    {ENOLCK, "ENOLCK"},       {EMFILE, "EMFILE"},   {ENOSYS, "ENOSYS"},   {EROFS, "EROFS"}};

const char* const SPACE_NAMES[] = {"ibuf", "obuf", "fgen", "reg", "oled"};  // device types 1 to 5

std::string fmt(const char* f, unsigned long a, unsigned long b = 0) {
  char buf[64];
  snprintf(buf, sizeof buf, f, a, b);
  return buf;
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool plainChar(unsigned char c) { return c > ' ' && c < 0x7f && c != '"' && c != '\\'; }

// The escape after a backslash at text[at]; advances at past it.
bool unescape(const std::string& text, size_t& at, std::string* out) {
  if (at >= text.size()) return false;
  char c = text[at++];
  switch (c) {
    case 'n': *out += '\n'; return true;
    case 't': *out += '\t'; return true;
    case 'r': *out += '\r'; return true;
    case '"':
    case '\\': *out += c; return true;
    case 'x': {
      int hi = at < text.size() ? hexDigit(text[at]) : -1;
      int lo = at + 1 < text.size() ? hexDigit(text[at + 1]) : -1;
      if (hi < 0 || lo < 0) return false;
      *out += static_cast<char>(hi * 16 + lo);
      at += 2;
      return true;
    }
  }
  return false;
}
}  // namespace

std::string errName(int err) {
  for (const ErrName& e : ERR_NAMES)
    if (e.err == err) return e.name;
  return "E" + std::to_string(err);
}

int errNumber(const std::string& name) {
  for (const ErrName& e : ERR_NAMES)
    if (name == e.name) return e.err;
  if (name.size() < 2 || name[0] != 'E' || name.find_first_not_of("0123456789", 1) != std::string::npos) return 0;
  return atoi(name.c_str() + 1);
}

std::string hexBytes(const uint8_t* b, size_t n) {
  static const char DIGITS[] = "0123456789abcdef";
  std::string out;
  out.reserve(n * 3);
  for (size_t k = 0; k < n; ++k) {
    if (k) out += ' ';
    out += DIGITS[b[k] >> 4];
    out += DIGITS[b[k] & 0xF];
  }
  return out;
}

bool parseHexBytes(const std::string& text, std::vector<uint8_t>* out) {
  out->clear();
  for (size_t at = 0; at < text.size(); at += 3) {
    int hi = hexDigit(text[at]), lo = at + 1 < text.size() ? hexDigit(text[at + 1]) : -1;
    if (hi < 0 || lo < 0 || (at + 2 < text.size() && text[at + 2] != ' ')) return false;
    out->push_back(static_cast<uint8_t>(hi * 16 + lo));
  }
  return true;
}

std::string quoted(const std::string& text) {
  bool plain = !text.empty();
  for (unsigned char c : text) plain = plain && plainChar(c);
  if (plain) return text;
  std::string out = "\"";
  for (unsigned char c : text) {
    if (plainChar(c)) out += static_cast<char>(c);
    else if (c == '\n') out += "\\n";
    else if (c == '\t') out += "\\t";
    else if (c == '"' || c == '\\') out += std::string("\\") + static_cast<char>(c);
    else out += fmt("\\x%02lx", c);
  }
  return out + "\"";
}

bool splitWords(const std::string& line, std::vector<std::string>* words) {
  words->clear();
  size_t at = 0;
  while (at < line.size()) {
    if (line[at] == ' ') {
      ++at;
      continue;
    }
    std::string w;
    if (line[at] != '"') {
      size_t end = line.find(' ', at);
      w = line.substr(at, end == std::string::npos ? std::string::npos : end - at);
      at = end == std::string::npos ? line.size() : end;
    } else {
      for (++at; at < line.size() && line[at] != '"';) {
        if (line[at] != '\\') w += line[at++];
        else if (!unescape(line, ++at, &w)) return false;
      }
      if (at >= line.size()) return false;
      ++at;
    }
    words->push_back(w);
  }
  return true;
}

size_t answerAt(const std::string& line) {
  bool inQuote = false;
  for (size_t at = 0; at < line.size(); ++at) {
    char c = line[at];
    if (inQuote && c == '\\') ++at;
    else if (c == '"') inQuote = !inQuote;
    else if (!inQuote && line.compare(at, 4, " -> ") == 0) return at + 4;
  }
  return std::string::npos;
}

std::string withAnswer(const std::string& request, const std::string& answer) {
  return answer.empty() ? request : request + " -> " + answer;
}

std::string openText(const char* path, int flags) {
  int mode = flags & O_ACCMODE;
  std::string f = mode == O_RDONLY ? "O_RDONLY" : mode == O_WRONLY ? "O_WRONLY" : mode == O_RDWR ? "O_RDWR" : "O_ACCMODE";
  if (flags & ~O_ACCMODE) f += fmt("|0x%lx", static_cast<unsigned>(flags & ~O_ACCMODE));
  return "open " + quoted(path ? path : "") + " " + f;
}

std::string sysReadText(const std::string& path, size_t n) { return "read " + quoted(path) + " " + std::to_string(n); }

std::string sysReadAnswer(const char* b, size_t n) { return std::to_string(n) + " " + quoted(std::string(b, n)); }

int adapterOfPath(const char* path) {
  int n = -1;
  char extra;
  return path && sscanf(path, "/dev/i2c-%d%c", &n, &extra) == 1 && n >= 0 ? n : -1;
}

std::string adapterText(int adapter) { return "i2c-" + std::to_string(adapter); }

std::string i2cText(int adapter, int addr) { return adapterText(adapter) + fmt(" 0x%02lx", static_cast<unsigned>(addr)); }

std::string i2cAddrText(int adapter, bool force, unsigned long addr) {
  return adapterText(adapter) + (force ? " slave_force" : " slave") + fmt(" 0x%02lx", addr);
}

std::string i2cXferText(int adapter, int addr, bool read, const uint8_t* b, size_t n) {
  return i2cText(adapter, addr) + (read ? " read " + std::to_string(n) : " write " + hexBytes(b, n));
}

const char* smbusSizeName(unsigned size) {
  switch (size) {
    case I2C_SMBUS_QUICK: return "quick";
    case I2C_SMBUS_BYTE: return "byte";
    case I2C_SMBUS_BYTE_DATA: return "byte_data";
    case I2C_SMBUS_WORD_DATA: return "word_data";
    case I2C_SMBUS_PROC_CALL: return "proc_call";
    case I2C_SMBUS_BLOCK_DATA: return "block_data";
    case I2C_SMBUS_I2C_BLOCK_BROKEN: return "i2c_block_broken";
    case I2C_SMBUS_I2C_BLOCK_DATA: return "i2c_block_data";
    case I2C_SMBUS_BLOCK_PROC_CALL: return "block_proc_call";
  }
  return nullptr;
}

int smbusSizeOf(const std::string& name) {
  for (unsigned size = I2C_SMBUS_QUICK; size <= I2C_SMBUS_I2C_BLOCK_DATA; ++size)
    if (smbusSizeName(size) && name == smbusSizeName(size)) return static_cast<int>(size);
  return -1;
}

std::string smbusText(int adapter, int addr, const i2c_smbus_ioctl_data& r) {
  const char* sz = smbusSizeName(r.size);
  std::string line = i2cText(adapter, addr) + " smbus ";
  line += r.read_write == I2C_SMBUS_READ ? "read" : r.read_write == I2C_SMBUS_WRITE ? "write" : fmt("rw=%lu", r.read_write);
  line += sz ? std::string(" ") + sz : fmt(" size=%lu", r.size);
  bool read = r.read_write == I2C_SMBUS_READ;
  if (r.size != I2C_SMBUS_QUICK && !(r.size == I2C_SMBUS_BYTE && read)) line += fmt(" cmd 0x%02lx", r.command);
  // An I2C block read asks for a length of its own choosing.
  if (read && r.size == I2C_SMBUS_I2C_BLOCK_DATA && r.data) line += fmt(" len %lu", r.data->block[0]);
  if (read || !r.data) return line;
  if (r.size == I2C_SMBUS_BYTE_DATA) line += fmt(" data %02lx", r.data->byte);
  if (r.size == I2C_SMBUS_WORD_DATA || r.size == I2C_SMBUS_PROC_CALL) line += fmt(" data %04lx", r.data->word);
  bool blockOut = r.size == I2C_SMBUS_BLOCK_DATA || r.size == I2C_SMBUS_I2C_BLOCK_DATA;
  if (blockOut && r.data->block[0] <= I2C_SMBUS_BLOCK_MAX) line += " data " + hexBytes(&r.data->block[1], r.data->block[0]);
  return line;
}

std::string smbusAnswer(const i2c_smbus_ioctl_data& r) {
  bool read = r.read_write == I2C_SMBUS_READ || r.size == I2C_SMBUS_PROC_CALL;
  if (!read || !r.data) return "";
  switch (r.size) {
    case I2C_SMBUS_BYTE:
    case I2C_SMBUS_BYTE_DATA: return fmt("%02lx", r.data->byte);
    case I2C_SMBUS_WORD_DATA:
    case I2C_SMBUS_PROC_CALL: return fmt("%04lx", r.data->word);
    case I2C_SMBUS_BLOCK_DATA:
    case I2C_SMBUS_I2C_BLOCK_DATA:
      return hexBytes(&r.data->block[1], r.data->block[0] <= I2C_SMBUS_BLOCK_MAX ? r.data->block[0] : 0);
  }
  return "";
}

bool smbusTakeAnswer(const std::string& answer, i2c_smbus_ioctl_data* r) {
  bool read = r->read_write == I2C_SMBUS_READ || r->size == I2C_SMBUS_PROC_CALL;
  std::vector<uint8_t> b;
  if (!read || !r->data || r->size == I2C_SMBUS_QUICK) return answer.empty();
  if (r->size == I2C_SMBUS_WORD_DATA || r->size == I2C_SMBUS_PROC_CALL) {
    if (answer.size() != 4 || answer.find_first_not_of("0123456789abcdef") != std::string::npos) return false;
    r->data->word = static_cast<__u16>(strtoul(answer.c_str(), nullptr, 16));
    return true;
  }
  if (!parseHexBytes(answer, &b)) return false;
  switch (r->size) {
    case I2C_SMBUS_BYTE:
    case I2C_SMBUS_BYTE_DATA:
      if (b.size() != 1) return false;
      r->data->byte = b[0];
      return true;
    case I2C_SMBUS_BLOCK_DATA:
      if (b.size() > I2C_SMBUS_BLOCK_MAX) return false;
      r->data->block[0] = static_cast<__u8>(b.size());
      break;
    case I2C_SMBUS_I2C_BLOCK_DATA:
      if (b.size() != r->data->block[0] || b.size() > I2C_SMBUS_BLOCK_MAX) return false;
      break;
    default: return false;
  }
  if (!b.empty()) memcpy(&r->data->block[1], b.data(), b.size());
  return true;
}

std::string fpgaSpaceName(int32_t devtype) {
  return devtype >= 1 && devtype <= 5 ? SPACE_NAMES[devtype - 1] : "devtype " + std::to_string(devtype);
}

std::string fpgaWordText(bool write, int32_t devtype, int32_t offset, uint32_t val) {
  std::string line = std::string(write ? "fpga wr " : "fpga rd ") + fpgaSpaceName(devtype) +
                     fmt(" 0x%04lx", static_cast<uint32_t>(offset));
  return write ? line + fmt(" 0x%04lx", val) : line;
}

std::string fpgaDrvWriteText(const void* b, size_t n) {
  constexpr size_t RECORD_BYTES = 16;  // four 32-bit fields: device type, offset (here the command), value, pointer
  if (!b || n != RECORD_BYTES) return "fpga write " + std::to_string(n) + " bytes";
  uint32_t field[4];
  memcpy(field, b, sizeof field);
  return fmt("fpga write cmd 0x%lx val 0x%lx", field[1], field[2]);
}

std::string fpgaMmapText(size_t len, long long offset) {
  return fmt("fpga mmap len 0x%lx", len) + (offset ? fmt(" offset 0x%lx", static_cast<unsigned long>(offset)) : "");
}

// The messages: "i2c-2 rdwr 0x50 write 00 10 ; 0x50 read 4".
std::string i2cRdwrText(int adapter, const i2c_rdwr_ioctl_data& d) {
  std::string line = adapterText(adapter) + " rdwr";
  char addr[32];
  for (__u32 k = 0; k < d.nmsgs && d.msgs; ++k) {
    const i2c_msg& m = d.msgs[k];
    snprintf(addr, sizeof addr, "%s0x%02x", k ? " ; " : " ", m.addr);
    line += addr;
    if (m.flags & ~I2C_M_RD) {
      snprintf(addr, sizeof addr, " flags 0x%x", m.flags & ~I2C_M_RD);
      line += addr;
    }
    line += (m.flags & I2C_M_RD) ? " read " + std::to_string(m.len) : " write " + hexBytes(m.buf, m.len);
  }
  return line;
}

std::string i2cRdwrAnswer(const i2c_rdwr_ioctl_data& d) {
  std::string line;
  bool first = true;
  for (__u32 k = 0; k < d.nmsgs && d.msgs; ++k) {
    const i2c_msg& m = d.msgs[k];
    if (!(m.flags & I2C_M_RD)) continue;
    line += (first ? "" : " ; ") + hexBytes(m.buf, m.len);
    first = false;
  }
  return line;
}
