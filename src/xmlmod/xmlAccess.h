#pragma once
#include <libxml/parser.h>

#include <string>

#include "xmlModule.h"

// libxml2 as the module uses it: no network, no messages of its own on the
// terminal; a failure is one line with libxml2's line and column.

// A document parsed from memory or from a file; null with *err set (where
// says what was read, such as the file's name).
xmlDocPtr xmlParse(const char* where, const char* text, size_t n, std::string* err);
xmlDocPtr xmlParseFile(const char* path, std::string* err);
// Each match of xpath in doc on a line: an element's text, an attribute's
// value, or the value of an expression that is a number, string or truth.
int xmlPrintMatches(xmlDocPtr doc, const char* where, const char* xpath, const S_TEXT_SINK* sink);
// The outline of a document read with the text reader, from a file (path) or
// from memory (text, n): each element with its attributes, indented by depth,
// and its text where it has one.
int xmlOutline(const char* where, const char* path, const char* text, size_t n, const S_TEXT_SINK* sink);
// The text of an element (its content), trimmed of surrounding blanks.
std::string xmlText(xmlNodePtr node);
