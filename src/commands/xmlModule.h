#pragma once
#include <cstddef>

// The commands' work that needs zlib, libxml2 or libconfig++ lives in a module
// of its own (diag-xml.so) that the program opens the first time such a command
// runs: a start that needs none of them loads none of them. The module and the
// program meet only through this C table, so that neither's C++ runtime is
// seen by the other. Every function returns an E_STATUS value and says what it
// found through the sink, a line at a time (err: a failure's own line).

extern "C" {
struct S_TEXT_SINK {
  void* ctx;
  void (*line)(void* ctx, bool err, const char* text);
};

enum E_ID_SHOW {
  ID_FIELDS,  // each field of the identity on a line of its own
  ID_LINE,    // the whole identity on one line
};

struct S_XML_MODULE {
  unsigned abi;  // XML_MODULE_ABI of the module's build
  // A board EEPROM's image: layout, length, CRC, stream and document checked.
  int (*idDecode)(const unsigned char* img, size_t n, E_ID_SHOW show, const S_TEXT_SINK* sink);
  // The identity's XML document of an image: with xpath, each match on a
  // line; without, the document's outline.
  int (*idQuery)(const unsigned char* img, size_t n, const char* xpath, const S_TEXT_SINK* sink);
  // An image built from an identity document (a file): fields checked, stream
  // compressed, CRC set, the rest 0xFF. img holds n bytes (the image's size).
  int (*idMake)(const char* xmlPath, unsigned char* img, size_t n, const S_TEXT_SINK* sink);
  // An XML file: with xpath each match on a line, without it the outline
  // (read with the text reader, not loaded whole).
  int (*xmlFile)(const char* path, const char* xpath, const S_TEXT_SINK* sink);
  // A configuration: the text given (named name in messages), or, when text is
  // null, the file name. With setting, that one value; without, every setting
  // as path = value.
  int (*cfgShow)(const char* name, const char* text, const char* setting, const S_TEXT_SINK* sink);
};

// The module's one exported symbol.
const S_XML_MODULE* diagXmlModule();
}

constexpr unsigned XML_MODULE_ABI = 1;
constexpr const char* XML_MODULE_FILE = "diag-xml.so";
constexpr const char* XML_MODULE_SYMBOL = "diagXmlModule";
