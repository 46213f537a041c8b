#pragma once
#include <span>

// The gpmc command's console dump of the words it reads: eight words a line,
// the first after its byte offset, the words run together, then the line's
// bytes as text (low byte of each word first, unprintable bytes as '.').
// Each line is written whole, with one write; the words of a line still to be
// completed are written when a block ends, so that a failure report that comes
// mid-line follows the words read before it.
class GpmcWordDump {
public:
  void add(unsigned long offset, std::span<const unsigned short> block);
  // The line break that ends a dump, whether its last line is full or not.
  void finish();

private:
  static constexpr int WORDS_A_LINE = 8;
  unsigned short words[WORDS_A_LINE] = {};
  int n = 0;
};
