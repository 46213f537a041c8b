#pragma once
#include "xmlModule.h"

// The module of the commands that need zlib, libxml2 or libconfig++, opened
// the first time one of them asks and kept open until the program ends. It is
// looked for beside the program, then in the package's library folder. Null,
// after one line that says where it was looked for and why it did not open,
// when it cannot be had.
const S_XML_MODULE* xmlModule(const char* fn);

// A sink that shows the module's lines on the terminal; its failure lines
// carry the command's function name, as the program's own do.
struct LogSink : S_TEXT_SINK {
  // prefix goes before every failure line (a device's name, or "").
  LogSink(const char* fn, const char* prefix = "");
  const char* fn;
  const char* prefix;
};
