#pragma once
#include <cstddef>

// Where a board EEPROM (24LC32A) keeps its board's identity: a label, the
// layout version, the length and CRC-32 of the identity stream (big-endian),
// the stream itself (a zlib stream of an XML document) and, at the top, a
// test page that holds no data. Bytes after the stream are 0xFF; a part whose
// header bytes are all 0xFF has no identity programmed yet.
namespace boardId {
constexpr size_t IMAGE_BYTES = 4096;
constexpr size_t LABEL_OFF = 0x000;
constexpr size_t LABEL_BYTES = 32;
constexpr size_t VERSION_OFF = 0x020;
constexpr size_t LENGTH_OFF = 0x022;
constexpr size_t CRC_OFF = 0x024;
constexpr size_t STREAM_OFF = 0x028;
constexpr size_t TEST_PAGE_OFF = 0xFE0;
constexpr size_t MAX_STREAM = TEST_PAGE_OFF - STREAM_OFF;  // 0xFB8
constexpr unsigned LAYOUT_VERSION = 1;
}  // namespace boardId
