#include "eepromIdentity.h"

#include <cstdio>
#include <cstring>

namespace sim {

namespace {
constexpr unsigned HDR = 0x20, STREAM = 0x28, TEST_PAGE = 0xFE0;

// zlib's CRC-32 (reflected, polynomial 0xEDB88320), a byte at a time: every
// reset of the instrument writes the identities afresh.
struct CrcTable {
  uint32_t t[256];
  constexpr CrcTable() : t() {
    for (uint32_t b = 0; b < 256; ++b) {
      uint32_t c = b;
      for (int k = 0; k < 8; ++k) c = (c >> 1) ^ (0xEDB88320u & (0u - (c & 1u)));
      t[b] = c;
    }
  }
};
constexpr CrcTable CRC;

uint32_t crc32(const uint8_t* p, size_t n) {
  uint32_t c = 0xFFFFFFFFu;
  for (size_t i = 0; i < n; ++i) c = (c >> 8) ^ CRC.t[(c ^ p[i]) & 0xFFu];
  return ~c;
}

uint32_t adler32(const uint8_t* p, size_t n) {
  uint32_t a = 1, b = 0;
  for (size_t i = 0; i < n; ++i) {
    a = (a + p[i]) % 65521;
    b = (b + a) % 65521;
  }
  return (b << 16) | a;
}

void put(uint8_t* p, uint32_t v, int bytes) {
  for (int i = bytes - 1; i >= 0; --i, v >>= 8) p[i] = static_cast<uint8_t>(v);
}

// A zlib stream of one stored (uncompressed) deflate block: header, block
// header with its length and the length's complement, the bytes, Adler-32.
size_t zlibStored(const std::string& doc, uint8_t* out) {
  size_t n = doc.size();
  out[0] = 0x78;
  out[1] = 0x01;
  out[2] = 0x01;  // final block, stored
  out[3] = static_cast<uint8_t>(n);
  out[4] = static_cast<uint8_t>(n >> 8);
  out[5] = static_cast<uint8_t>(~n);
  out[6] = static_cast<uint8_t>(~n >> 8);
  memcpy(out + 7, doc.data(), n);
  put(out + 7 + n, adler32(reinterpret_cast<const uint8_t*>(doc.data()), n), 4);
  return n + 11;
}

void setCrc(uint8_t* mem) {
  unsigned len = (mem[HDR + 2] << 8) | mem[HDR + 3];
  put(mem + HDR + 4, crc32(mem + STREAM, len), 4);
}
}  // namespace

// The label is "Z9 TTTT board name"; the type, name and made-up production
// data (part, serial, date) follow from it and from the part's slot.
void writeIdentity(uint8_t* mem, unsigned size, const char* label, int slot) {
  if (!label || strlen(label) < 8 || size < TEST_PAGE) return;
  std::string type(label + 3, 4), name(label + 8);
  char doc[512];
  // Compact, so that the identity ends well before 0x100.
  snprintf(doc, sizeof doc,
           "<board type=\"%s\"><name>%s</name><part>Z9-%s-03</part><serial>%s-24-%06d</serial>"
           "<revision>3</revision><made>2024-%02d-%02d</made></board>\n",
           type.c_str(), name.c_str(), type.c_str(), type.c_str(), 100 + slot * 17, 1 + slot % 12, 3 + slot);
  size_t len = zlibStored(doc, mem + STREAM);
  put(mem + HDR, 1, 2);
  put(mem + HDR + 2, static_cast<uint32_t>(len), 2);
  setCrc(mem);
}

bool damageIdentity(uint8_t* mem, unsigned size, const std::string& how, std::string& err) {
  if (how == "blank") {
    memset(mem + HDR, 0xFF, TEST_PAGE - HDR);
  } else if (how == "crc") {
    mem[HDR + 7] ^= 0x5A;
  } else if (how == "stream") {
    mem[STREAM + 5] ^= 0x01;  // the stored block's length no longer matches its complement
    setCrc(mem);
  } else if (how == "version") {
    put(mem + HDR, 7, 2);
  } else if (how == "long") {
    put(mem + HDR + 2, TEST_PAGE - STREAM, 2);  // the longest stream the part holds, blank bytes after the real one
    setCrc(mem);
  } else if (how == "empty") {
    put(mem + HDR + 2, 0, 2);  // a length of 0: programming stopped before the stream was written
  } else {
    err = "damage is one of blank, crc, stream, version, long, empty";
    return false;
  }
  return size >= TEST_PAGE;
}
}  // namespace sim
