#pragma once

// The gpmc command's console dump of the words it reads: eight words a line,
// the first after its byte offset, the words run together, then the line's
// bytes as text (low byte of each word first, unprintable bytes as '.').
// Words are printed as they arrive, so that a failure report that comes
// mid-line follows the words read before it.
class GpmcWordDump {
public:
  void add(unsigned long offset, unsigned short word);
  // The line break that ends a dump, whether its last line is full or not.
  void finish();

private:
  unsigned short words[8] = {};
  int n = 0;
};
