// The module's table: what the program asks of zlib, libxml2 and libconfig++.
#include "xmlModule.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "boardIdCodec.h"
#include "cfgAccess.h"
#include "diagStatus.h"
#include "textSink.h"
#include "xmlAccess.h"

namespace {
int xmlFile(const char* path, const char* xpath, const S_TEXT_SINK* sink) {
  FILE* f = fopen(path, "r");  // for the system's reason, which libxml2 does not give
  if (!f) return fail(sink, "unable to open file %s: %s (%d)", path, strerror(errno), errno);
  fclose(f);
  if (!xpath) return xmlOutline(path, path, nullptr, 0, sink);
  std::string err;
  xmlDocPtr doc = xmlParseFile(path, &err);
  if (!doc) return fail(sink, "XML file %s: %s", path, err.c_str());
  int st = xmlPrintMatches(doc, path, xpath, sink);
  xmlFreeDoc(doc);
  return st;
}

const S_XML_MODULE TABLE = {XML_MODULE_ABI, idDecode, idQuery, idMake, xmlFile, cfgShow};
}  // namespace

extern "C" __attribute__((visibility("default"))) const S_XML_MODULE* diagXmlModule() { return &TABLE; }
