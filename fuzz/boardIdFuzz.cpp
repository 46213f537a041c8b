// Damaged board identity images for the decoder: whatever the bytes, no crash,
// and a failure is exactly one line. The first byte chooses how the rest is
// placed: raw over the header and stream (most inputs then fail the checks of
// the header), as a stream with its length and CRC made right (zlib's inflate
// sees it), or as a document compressed into a good stream (libxml2 and the
// field checks see it).
#include <zlib.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "boardIdCodec.h"
#include "boardIdLayout.h"
#include "diagStatus.h"

namespace {
struct Count : S_TEXT_SINK {
  int out = 0, err = 0;
  Count() : S_TEXT_SINK{this, [](void* c, bool e, const char*) { ++(e ? static_cast<Count*>(c)->err : static_cast<Count*>(c)->out); }} {}
};

void putStream(std::vector<unsigned char>& img, const unsigned char* s, size_t n) {
  n = std::min(n, boardId::MAX_STREAM);
  memcpy(img.data() + boardId::STREAM_OFF, s, n);
  img[boardId::VERSION_OFF + 1] = 1;
  img[boardId::VERSION_OFF] = 0;
  img[boardId::LENGTH_OFF] = static_cast<unsigned char>(n >> 8);
  img[boardId::LENGTH_OFF + 1] = static_cast<unsigned char>(n);
  unsigned long c = crc32(0L, img.data() + boardId::STREAM_OFF, static_cast<uInt>(n));
  for (int i = 0; i < 4; ++i) img[boardId::CRC_OFF + i] = static_cast<unsigned char>(c >> (24 - 8 * i));
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  std::vector<unsigned char> img(boardId::IMAGE_BYTES, 0xFF);
  memset(img.data(), 0, boardId::LABEL_BYTES);
  memcpy(img.data(), "Z9 0970 back plane", 18);
  const uint8_t* rest = data + 1;
  size_t n = size - 1;
  switch (data[0] % 3) {
    case 0: memcpy(img.data() + boardId::VERSION_OFF, rest, std::min(n, img.size() - boardId::VERSION_OFF)); break;
    case 1: putStream(img, rest, n); break;
    default: {
      std::vector<unsigned char> z(compressBound(n));
      uLongf zn = z.size();
      if (compress(z.data(), &zn, rest, n) != Z_OK) return 0;
      putStream(img, z.data(), zn);
    }
  }
  Count c;
  int st = idDecode(img.data(), img.size(), ID_FIELDS, &c);
  if (st != SUCCESS && (c.err != 1 || c.out != 0)) __builtin_trap();
  if (st == SUCCESS && c.err != 0) __builtin_trap();
  return 0;
}
