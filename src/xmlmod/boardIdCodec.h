#pragma once
#include <string>
#include <utility>
#include <vector>

#include "xmlModule.h"

// A board's identity as its EEPROM holds it (boardIdLayout.h): the label, and
// the fields of the XML document inside the zlib stream.
struct BoardIdentity {
  std::string label, type, name, part, serial, revision, made;
  std::vector<std::pair<std::string, std::string>> more;  // options and unknown elements, in order
};

// The XML document of an image, checked from the header to the stream's end:
// on failure the one line that says what is wrong (blank, layout version,
// length, CRC with both values, zlib's error and message).
bool idDocument(const unsigned char* img, size_t n, std::string* doc, std::string* err);
// The fields of an identity document; labelType is the type in the image's
// label ("" when there is no label to compare with).
bool idFields(const std::string& doc, const std::string& labelType, BoardIdentity* id, std::string* err);
// An image of n bytes for an identity document.
bool idImage(const std::string& doc, unsigned char* img, size_t n, std::string* err);

int idDecode(const unsigned char* img, size_t n, E_ID_SHOW show, const S_TEXT_SINK* sink);
int idQuery(const unsigned char* img, size_t n, const char* xpath, const S_TEXT_SINK* sink);
int idMake(const char* xmlPath, unsigned char* img, size_t n, const S_TEXT_SINK* sink);
