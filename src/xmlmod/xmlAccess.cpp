#include "xmlAccess.h"

#include <libxml/xmlreader.h>
#include <libxml/xpath.h>

#include <memory>

#include "diagStatus.h"
#include "textSink.h"

namespace {
constexpr int PARSE_OPTS = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;

// libxml2 reports through globals; the module keeps the first error of an
// operation and shows nothing itself.
struct ErrCapture {
  std::string text;
  static void onError(void* ctx, xmlErrorPtr e) {
    auto* c = static_cast<ErrCapture*>(ctx);
    if (!c->text.empty() || !e) return;
    std::string msg = e->message ? e->message : "unknown error";
    while (!msg.empty() && (msg.back() == '\n' || msg.back() == ' ')) msg.pop_back();
    c->text = e->line > 0 ? strf("line %d, column %d: %s", e->line, e->int2, msg.c_str()) : msg;
  }
  static void quiet(void*, const char*, ...) {}
  ErrCapture() {
    xmlSetStructuredErrorFunc(this, onError);
    xmlSetGenericErrorFunc(nullptr, quiet);
  }
  ~ErrCapture() { xmlSetStructuredErrorFunc(nullptr, nullptr); }
};

std::string trim(const std::string& s) {
  size_t b = s.find_first_not_of(" \t\r\n"), e = s.find_last_not_of(" \t\r\n");
  return b == std::string::npos ? "" : s.substr(b, e - b + 1);
}

std::string xmlStr(const xmlChar* s) { return s ? reinterpret_cast<const char*>(s) : ""; }

std::string attrsOf(xmlTextReaderPtr r) {
  std::string out;
  while (xmlTextReaderMoveToNextAttribute(r) == 1)
    out += strf(" %s=\"%s\"", xmlStr(xmlTextReaderConstName(r)).c_str(), xmlStr(xmlTextReaderConstValue(r)).c_str());
  xmlTextReaderMoveToElement(r);
  return out;
}
}  // namespace

std::string xmlText(xmlNodePtr node) {
  xmlChar* c = xmlNodeGetContent(node);
  std::string s = trim(xmlStr(c));
  xmlFree(c);
  return s;
}

xmlDocPtr xmlParse(const char* where, const char* text, size_t n, std::string* err) {
  ErrCapture cap;
  xmlDocPtr doc = xmlReadMemory(text, static_cast<int>(n), where, "UTF-8", PARSE_OPTS);
  if (!doc) *err = cap.text.empty() ? "not a well-formed document" : cap.text;
  return doc;
}

xmlDocPtr xmlParseFile(const char* path, std::string* err) {
  ErrCapture cap;
  xmlDocPtr doc = xmlReadFile(path, nullptr, PARSE_OPTS);
  if (!doc) *err = cap.text.empty() ? "cannot be read" : cap.text;
  return doc;
}

int xmlPrintMatches(xmlDocPtr doc, const char* where, const char* xpath, const S_TEXT_SINK* sink) {
  ErrCapture cap;
  std::unique_ptr<xmlXPathContext, decltype(&xmlXPathFreeContext)> ctx(xmlXPathNewContext(doc), xmlXPathFreeContext);
  std::unique_ptr<xmlXPathObject, decltype(&xmlXPathFreeObject)> res(
      ctx ? xmlXPathEvalExpression(reinterpret_cast<const xmlChar*>(xpath), ctx.get()) : nullptr, xmlXPathFreeObject);
  if (!res) return fail(sink, "XPath %s: %s", xpath, cap.text.empty() ? "cannot be evaluated" : cap.text.c_str());
  switch (res->type) {
    case XPATH_NODESET: break;
    case XPATH_BOOLEAN: say(sink, "%s", res->boolval ? "true" : "false"); return SUCCESS;
    case XPATH_NUMBER: say(sink, "%g", res->floatval); return SUCCESS;
    case XPATH_STRING: say(sink, "%s", xmlStr(res->stringval).c_str()); return SUCCESS;
    default: return fail(sink, "XPath %s: a result of a kind this command does not show", xpath);
  }
  xmlNodeSetPtr set = res->nodesetval;
  if (!set || set->nodeNr == 0) return fail(sink, "nothing in %s matches %s", where, xpath);
  for (int i = 0; i < set->nodeNr; ++i) say(sink, "%s", xmlText(set->nodeTab[i]).c_str());
  return SUCCESS;
}

int xmlOutline(const char* where, const char* path, const char* text, size_t n, const S_TEXT_SINK* sink) {
  ErrCapture cap;
  xmlTextReaderPtr r = path ? xmlReaderForFile(path, nullptr, PARSE_OPTS)
                            : xmlReaderForMemory(text, static_cast<int>(n), where, "UTF-8", PARSE_OPTS);
  if (!r) return fail(sink, "%s cannot be read", where);
  std::string pending;  // an element's line, waiting for its text
  int ret;
  while ((ret = xmlTextReaderRead(r)) == 1) {
    int type = xmlTextReaderNodeType(r), depth = xmlTextReaderDepth(r);
    if (type == XML_READER_TYPE_ELEMENT) {
      if (!pending.empty()) say(sink, "%s", pending.c_str());
      pending = std::string(2 * depth, ' ') + xmlStr(xmlTextReaderConstName(r)) + attrsOf(r);
      if (xmlTextReaderIsEmptyElement(r)) {
        say(sink, "%s", pending.c_str());
        pending.clear();
      }
    } else if (type == XML_READER_TYPE_END_ELEMENT && !pending.empty()) {
      say(sink, "%s", pending.c_str());
      pending.clear();
    } else if (type == XML_READER_TYPE_TEXT || type == XML_READER_TYPE_CDATA) {
      std::string t = trim(xmlStr(xmlTextReaderConstValue(r)));
      if (t.empty()) continue;
      if (!pending.empty()) {
        say(sink, "%s: %s", pending.c_str(), t.c_str());
        pending.clear();
      } else {
        say(sink, "%s%s", std::string(2 * depth, ' ').c_str(), t.c_str());
      }
    }
  }
  xmlFreeTextReader(r);
  if (ret != 0) return fail(sink, "%s: %s", where, cap.text.empty() ? "not a well-formed document" : cap.text.c_str());
  return SUCCESS;
}
