#include "boardIdCodec.h"

#include <zlib.h>

#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

#include "boardIdLayout.h"
#include "diagStatus.h"
#include "textSink.h"
#include "xmlAccess.h"

using namespace boardId;

namespace {
// No identity document is anywhere near this; a stream that inflates to more
// is refused rather than followed.
constexpr size_t MAX_DOC = 64 * 1024;

unsigned be16(const unsigned char* p) { return (p[0] << 8) | p[1]; }
unsigned long be32(const unsigned char* p) {
  return (static_cast<unsigned long>(p[0]) << 24) | (p[1] << 16) | (p[2] << 8) | p[3];
}
void putBe(unsigned char* p, unsigned long v, int bytes) {
  for (int i = bytes - 1; i >= 0; --i, v >>= 8) p[i] = static_cast<unsigned char>(v & 0xFF);
}

// A buffer of another size than an image's is refused, whoever passed it.
bool sizeRefused(size_t n, std::string* err) {
  if (n == IMAGE_BYTES) return false;
  *err = strf("an identity image is %zu bytes, not %zu", IMAGE_BYTES, n);
  return true;
}

std::string labelType(const unsigned char* img) {
  std::string label(reinterpret_cast<const char*>(img + LABEL_OFF), strnlen(reinterpret_cast<const char*>(img), LABEL_BYTES));
  return label.size() >= 7 && label.compare(0, 3, "Z9 ") == 0 ? label.substr(3, 4) : "";
}

bool inflateDoc(const unsigned char* s, size_t n, std::string* doc, std::string* err) {
  z_stream z{};
  if (inflateInit(&z) != Z_OK) {
    *err = "zlib cannot start inflating";
    return false;
  }
  std::string out(MAX_DOC, '\0');
  z.next_in = const_cast<unsigned char*>(s);
  z.avail_in = static_cast<uInt>(n);
  z.next_out = reinterpret_cast<unsigned char*>(out.data());
  z.avail_out = static_cast<uInt>(out.size());
  int ret = inflate(&z, Z_FINISH);
  std::string msg = z.msg ? z.msg : zError(ret);
  size_t produced = out.size() - z.avail_out;
  inflateEnd(&z);
  if (ret == Z_STREAM_END) {
    if (z.avail_in != 0) {
      *err = strf("identity stream ends %u bytes before its length says", z.avail_in);
      return false;
    }
    *doc = out.substr(0, produced);
    return true;
  }
  if (ret == Z_BUF_ERROR && z.avail_out == 0)
    *err = strf("identity inflates to more than %zu bytes", MAX_DOC);
  else if (ret == Z_BUF_ERROR)
    *err = "identity stream is cut short: zlib error -5 (unexpected end of stream)";
  else
    *err = strf("identity stream does not inflate: zlib error %d (%s)", ret, msg.c_str());
  return false;
}

bool allDigits(const std::string& s, size_t n) {
  if (s.size() != n) return false;
  for (char c : s)
    if (!isdigit(static_cast<unsigned char>(c))) return false;
  return true;
}

bool isDate(const std::string& s) {
  if (s.size() != 10 || s[4] != '-' || s[7] != '-') return false;
  if (!allDigits(s.substr(0, 4), 4) || !allDigits(s.substr(5, 2), 2) || !allDigits(s.substr(8, 2), 2)) return false;
  int m = std::stoi(s.substr(5, 2)), d = std::stoi(s.substr(8, 2));
  return m >= 1 && m <= 12 && d >= 1 && d <= 31;
}

bool isWholeNumber(const std::string& s) { return !s.empty() && s.size() <= 9 && allDigits(s, s.size()); }

struct Required {
  const char* name;
  std::string BoardIdentity::*field;
  bool (*ok)(const std::string&);
  const char* what;
};
const Required REQUIRED[] = {
    {"name", &BoardIdentity::name, nullptr, nullptr},
    {"part", &BoardIdentity::part, nullptr, nullptr},
    {"serial", &BoardIdentity::serial, nullptr, nullptr},
    {"revision", &BoardIdentity::revision, isWholeNumber, "a whole number"},
    {"made", &BoardIdentity::made, isDate, "a date YYYY-MM-DD"},
};

std::string elementName(xmlNodePtr n) { return reinterpret_cast<const char*>(n->name); }

std::string attr(xmlNodePtr n, const char* name, bool* has) {
  xmlChar* v = xmlGetProp(n, reinterpret_cast<const xmlChar*>(name));
  *has = v != nullptr;
  std::string s = v ? reinterpret_cast<const char*>(v) : "";
  xmlFree(v);
  return s;
}

// One element under <board>: a required field, an option, or kept as it is.
bool takeElement(xmlNodePtr n, BoardIdentity* id, std::string* err) {
  std::string name = elementName(n);
  if (name == "option") {
    bool hasName, hasValue;
    std::string k = attr(n, "name", &hasName), v = attr(n, "value", &hasValue);
    if (!hasName || !hasValue || k.empty()) {
      long line = xmlGetLineNo(n);
      *err = strf("identity field <option> at line %ld has no name or no value", line);
      return false;
    }
    id->more.emplace_back("option", k + " = " + v);
    return true;
  }
  for (const Required& r : REQUIRED) {
    if (name != r.name) continue;
    if (!(id->*r.field).empty()) {
      *err = strf("identity field <%s> appears twice", r.name);
      return false;
    }
    id->*r.field = xmlText(n);
    if (r.ok && !r.ok(id->*r.field)) {
      *err = strf("identity field <%s> \"%s\" is malformed: %s expected", r.name, (id->*r.field).c_str(), r.what);
      return false;
    }
    return true;
  }
  id->more.emplace_back(name, xmlText(n));
  return true;
}

bool fieldsOf(xmlDocPtr doc, const std::string& lblType, BoardIdentity* id, std::string* err) {
  xmlNodePtr root = xmlDocGetRootElement(doc);
  if (!root || elementName(root) != "board") {
    *err = "identity document's root is not <board>";
    return false;
  }
  bool hasType;
  id->type = attr(root, "type", &hasType);
  if (!hasType) {
    *err = "identity field type (an attribute of <board>) is missing";
    return false;
  }
  if (!allDigits(id->type, 4)) {
    *err = strf("identity field type \"%s\" is malformed: four digits expected", id->type.c_str());
    return false;
  }
  if (!lblType.empty() && lblType != id->type) {
    *err = strf("identity type %s differs from the label's %s", id->type.c_str(), lblType.c_str());
    return false;
  }
  for (xmlNodePtr n = root->children; n; n = n->next)
    if (n->type == XML_ELEMENT_NODE && !takeElement(n, id, err)) return false;
  for (const Required& r : REQUIRED) {
    if ((id->*r.field).empty()) {
      *err = strf("identity field <%s> is missing or empty", r.name);
      return false;
    }
  }
  return true;
}
}  // namespace

bool idDocument(const unsigned char* img, size_t n, std::string* doc, std::string* err) {
  if (sizeRefused(n, err)) return false;
  bool blank = true;
  for (size_t k = VERSION_OFF; k < STREAM_OFF; ++k) blank = blank && img[k] == 0xFF;
  if (blank) {
    *err = "no identity programmed (blank)";
    return false;
  }
  unsigned version = be16(img + VERSION_OFF), len = be16(img + LENGTH_OFF);
  if (version != LAYOUT_VERSION) {
    *err = strf("unknown identity layout version %u (this program reads %u)", version, LAYOUT_VERSION);
    return false;
  }
  if (len < 1 || len > MAX_STREAM) {
    *err = strf("identity length %u out of range (1 to %zu)", len, MAX_STREAM);
    return false;
  }
  unsigned long stored = be32(img + CRC_OFF), computed = crc32(0L, img + STREAM_OFF, len);
  if (stored != computed) {
    *err = strf("identity CRC mismatch: stored 0x%08lx, computed 0x%08lx", stored, computed);
    return false;
  }
  return inflateDoc(img + STREAM_OFF, len, doc, err);
}

bool idFields(const std::string& doc, const std::string& lblType, BoardIdentity* id, std::string* err) {
  std::string xmlErr;
  xmlDocPtr d = xmlParse("identity", doc.data(), doc.size(), &xmlErr);
  if (!d) {
    *err = "identity XML error at " + xmlErr;
    return false;
  }
  bool ok = fieldsOf(d, lblType, id, err);
  xmlFreeDoc(d);
  return ok;
}

bool idImage(const std::string& doc, unsigned char* img, size_t n, std::string* err) {
  BoardIdentity id;
  if (sizeRefused(n, err)) return false;
  if (!idFields(doc, "", &id, err)) return false;
  std::string label = "Z9 " + id.type + " " + id.name;
  if (label.size() > LABEL_BYTES) {
    *err = strf("name \"%s\" is too long for the label (at most %zu characters)", id.name.c_str(), LABEL_BYTES - 8);
    return false;
  }
  memset(img, 0xFF, n);
  memset(img, 0, LABEL_BYTES);
  memcpy(img, label.data(), label.size());
  uLongf len = MAX_STREAM;
  int ret = compress2(img + STREAM_OFF, &len, reinterpret_cast<const Bytef*>(doc.data()), doc.size(), Z_BEST_COMPRESSION);
  if (ret != Z_OK) {
    memset(img, 0xFF, n);
    *err = ret == Z_BUF_ERROR ? strf("the compressed identity is longer than %zu bytes", MAX_STREAM)
                              : strf("zlib error %d (%s) while compressing", ret, zError(ret));
    return false;
  }
  putBe(img + VERSION_OFF, LAYOUT_VERSION, 2);
  putBe(img + LENGTH_OFF, len, 2);
  putBe(img + CRC_OFF, crc32(0L, img + STREAM_OFF, len), 4);
  return true;
}

int idDecode(const unsigned char* img, size_t n, E_ID_SHOW show, const S_TEXT_SINK* sink) {
  std::string doc, err;
  BoardIdentity id;
  if (!idDocument(img, n, &doc, &err) || !idFields(doc, labelType(img), &id, &err)) return fail(sink, "%s", err.c_str());
  id.label = std::string(reinterpret_cast<const char*>(img), strnlen(reinterpret_cast<const char*>(img), LABEL_BYTES));
  if (show == ID_LINE) {
    std::string line = strf("type %s, name %s, part %s, serial %s, revision %s, made %s", id.type.c_str(),
                            id.name.c_str(), id.part.c_str(), id.serial.c_str(), id.revision.c_str(), id.made.c_str());
    say(sink, "%s", line.c_str());
    return SUCCESS;
  }
  const std::pair<const char*, const std::string*> fields[] = {
      {"label", &id.label}, {"type", &id.type},         {"name", &id.name}, {"part", &id.part},
      {"serial", &id.serial}, {"revision", &id.revision}, {"made", &id.made}};
  for (const auto& [k, v] : fields) say(sink, "%-9s %s", k, v->c_str());
  for (const auto& [k, v] : id.more) say(sink, "%-9s %s", k.c_str(), v.c_str());
  return SUCCESS;
}

int idQuery(const unsigned char* img, size_t n, const char* xpath, const S_TEXT_SINK* sink) {
  std::string doc, err;
  if (!idDocument(img, n, &doc, &err)) return fail(sink, "%s", err.c_str());
  if (!xpath) return xmlOutline("identity", nullptr, doc.data(), doc.size(), sink);
  xmlDocPtr d = xmlParse("identity", doc.data(), doc.size(), &err);
  if (!d) return fail(sink, "identity XML error at %s", err.c_str());
  int st = xmlPrintMatches(d, "the identity", xpath, sink);
  xmlFreeDoc(d);
  return st;
}

int idMake(const char* xmlPath, unsigned char* img, size_t n, const S_TEXT_SINK* sink) {
  std::ifstream in(xmlPath, std::ios::binary);
  if (!in) return fail(sink, "unable to open file %s: %s (%d)", xmlPath, strerror(errno), errno);
  std::ostringstream text;
  text << in.rdbuf();
  std::string doc = text.str(), err;
  if (doc.size() > MAX_DOC) return fail(sink, "%s is larger than an identity document can be (%zu bytes)", xmlPath, MAX_DOC);
  if (!idImage(doc, img, n, &err)) return fail(sink, "%s: %s", xmlPath, err.c_str());
  return SUCCESS;
}
