// The identity decoder against damaged images: each damage gives its own
// single line, and a good image gives every field.
#include <gtest/gtest.h>

#include <zlib.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "boardIdCodec.h"
#include "boardIdLayout.h"
#include "diagStatus.h"
#include "testEnv.h"

namespace {
struct Lines : S_TEXT_SINK {
  std::vector<std::string> out, err;
  Lines() : S_TEXT_SINK{this, [](void* c, bool e, const char* t) {
                          auto* l = static_cast<Lines*>(c);
                          (e ? l->err : l->out).push_back(t);
                        }} {}
};

using Image = std::vector<unsigned char>;

const std::string DOC =
    "<?xml version=\"1.0\"?>\n<board type=\"0970\">\n  <name>back plane</name>\n  <part>Z9-0970-03</part>\n"
    "  <serial>0970-24-000123</serial>\n  <revision>3</revision>\n  <made>2024-06-14</made>\n"
    "  <option name=\"fans\" value=\"6\"/>\n  <note>spare</note>\n</board>\n";

Image imageOf(const std::string& doc) {
  Image img(boardId::IMAGE_BYTES);
  std::string err;
  EXPECT_TRUE(idImage(doc, img.data(), img.size(), &err)) << err;
  return img;
}

void setLen(Image& img, unsigned len) {
  img[boardId::LENGTH_OFF] = static_cast<unsigned char>(len >> 8);
  img[boardId::LENGTH_OFF + 1] = static_cast<unsigned char>(len);
}

// The stream replaced by these bytes, with length and CRC made to match.
void setStream(Image& img, const std::string& bytes) {
  memcpy(img.data() + boardId::STREAM_OFF, bytes.data(), bytes.size());
  setLen(img, static_cast<unsigned>(bytes.size()));
  unsigned long c = crc32(0L, img.data() + boardId::STREAM_OFF, static_cast<uInt>(bytes.size()));
  for (int i = 0; i < 4; ++i) img[boardId::CRC_OFF + i] = static_cast<unsigned char>(c >> (24 - 8 * i));
}

std::string compressed(const std::string& doc) {
  std::string out(compressBound(doc.size()), '\0');
  uLongf n = out.size();
  compress(reinterpret_cast<Bytef*>(out.data()), &n, reinterpret_cast<const Bytef*>(doc.data()), doc.size());
  return out.substr(0, n);
}
}  // namespace

TEST(BoardIdCodec, AGoodImageShowsEveryFieldInOrder) {
  Image img = imageOf(DOC);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(img.data())), "Z9 0970 back plane");
  EXPECT_EQ(img[boardId::TEST_PAGE_OFF], 0xFF);
  Lines l;
  EXPECT_EQ(idDecode(img.data(), img.size(), ID_FIELDS, &l), SUCCESS);
  EXPECT_EQ(l.out, (std::vector<std::string>{"label     Z9 0970 back plane", "type      0970", "name      back plane",
                                             "part      Z9-0970-03", "serial    0970-24-000123", "revision  3",
                                             "made      2024-06-14", "option    fans = 6", "note      spare"}));
  Lines q;
  EXPECT_EQ(idQuery(img.data(), img.size(), "/board/serial", &q), SUCCESS);
  EXPECT_EQ(q.out, std::vector<std::string>{"0970-24-000123"});
}

TEST(BoardIdCodec, EachDamageIsOneLineThatSaysWhatIsWrong) {
  const struct { const char* what; std::function<void(Image&)> damage; const char* line; } cases[] = {
      {"size", [](Image& i) { i.pop_back(); }, "an identity image is 4096 bytes, not 4095"},
      {"blank", [](Image& i) { memset(i.data() + 0x20, 0xFF, 8); }, "no identity programmed (blank)"},
      {"version", [](Image& i) { i[0x21] = 2; }, "unknown identity layout version 2 (this program reads 1)"},
      {"length 0", [](Image& i) { setLen(i, 0); }, "identity length 0 out of range (1 to 4024)"},
      {"length over", [](Image& i) { setLen(i, 0xFB9); }, "identity length 4025 out of range (1 to 4024)"},
      {"crc", [](Image& i) { i[0x27] ^= 1; }, "identity CRC mismatch: stored 0x"},
      {"zlib", [](Image& i) { setStream(i, "\x78\x9c\xff\xff\xff"); },
       "identity stream does not inflate: zlib error -3 (invalid block type)"},
      {"cut", [](Image& i) { setStream(i, compressed(DOC).substr(0, 1)); }, "identity stream is cut short"},
      {"bomb", [](Image& i) { setStream(i, compressed(std::string(65537, ' '))); }, "identity inflates to more"},
      {"trailing", [](Image& i) { setStream(i, compressed(DOC) + "xy"); },
       "identity stream ends 2 bytes before its length says"},
      {"xml", [](Image& i) { setStream(i, compressed("<board type=\"0970\">\n<name>x</board>")); },
       "identity XML error at line 2, column"},
      {"root", [](Image& i) { setStream(i, compressed("<card/>")); }, "identity document's root is not <board>"},
      {"no type", [](Image& i) { setStream(i, compressed("<board/>")); }, "identity field type (an attribute"},
      {"twice", [](Image& i) { setStream(i, compressed("<board type=\"0970\"><name>a</name><name>b</name></board>")); },
       "identity field <name> appears twice"},
      {"missing", [](Image& i) { setStream(i, compressed("<board type=\"0970\"><name>n</name></board>")); },
       "identity field <part> is missing or empty"},
      {"option", [](Image& i) { setStream(i, compressed("<board type=\"0970\">\n<option name=\"fans\"/></board>")); },
       "identity field <option> at line 2 has no name or no value"},
      {"type", [](Image& i) { setStream(i, compressed("<board type=\"97\"/>")); },
       "identity field type \"97\" is malformed: four digits expected"},
      {"label", [](Image& i) { i[4] = '8'; }, "identity type 0970 differs from the label's 0870"},
      {"date", [](Image& i) { std::string d = DOC; setStream(i, compressed(d.replace(d.find("06-14"), 5, "13-01"))); },
       "identity field <made> \"2024-13-01\" is malformed: a date YYYY-MM-DD expected"},
  };
  for (const auto& c : cases) {
    Image img = imageOf(DOC);
    c.damage(img);
    Lines l;
    EXPECT_EQ(idDecode(img.data(), img.size(), ID_LINE, &l), FAILURE) << c.what;
    EXPECT_TRUE(l.out.empty()) << c.what;
    ASSERT_EQ(l.err.size(), 1u) << c.what;
    EXPECT_EQ(l.err[0].rfind(c.line, 0), 0u) << c.what << ": " << l.err[0];
  }
}

TEST(BoardIdCodec, ADocumentThatCannotBeAnIdentityBuildsNoImage) {
  Image img(boardId::IMAGE_BYTES);
  std::string err;
  EXPECT_FALSE(idImage(DOC, img.data(), 4095, &err));
  EXPECT_EQ(err, "an identity image is 4096 bytes, not 4095");
  for (size_t len : {24u, 25u}) {  // the label "Z9 0970 " and the name fill its 32 bytes, or would overrun them
    std::string named = DOC;
    named.replace(named.find("back plane"), 10, std::string(len, 'n'));
    EXPECT_EQ(idImage(named, img.data(), img.size(), &err), len == 24) << err;
  }
  EXPECT_EQ(err, "name \"" + std::string(25, 'n') + "\" is too long for the label (at most 24 characters)");
  for (auto [made, ok] : {std::pair{"2024-12-31", true}, {"2024-12-32", false}, {"2024x06-14", false},
                            {"2024-1x-14", false}, {"2024-01-01", true}, {"2024-00-01", false}, {"2024-01-00", false}}) {
    std::string d = DOC;
    EXPECT_EQ(idImage(d.replace(d.find("2024-06-14"), 10, made), img.data(), img.size(), &err), ok) << made;
  }
  std::string big = DOC;
  std::string noise;
  for (unsigned i = 0; noise.size() < 9000; ++i) noise += std::to_string(i * 2654435761u);
  big.insert(big.find("</board>"), "<pad>" + noise + "</pad>");
  EXPECT_FALSE(idImage(big, img.data(), img.size(), &err));
  EXPECT_EQ(err, "the compressed identity is longer than 4024 bytes");
  for (size_t size : {65536u, 65537u}) {  // the largest document a decoder inflates, and one byte more
    writeFile(testPath("big.xml"), std::string(DOC).insert(DOC.find("</board>"), size - DOC.size(), ' '));
    Lines l;
    EXPECT_EQ(idMake(testPath("big.xml").c_str(), img.data(), img.size(), &l), size == 65536 ? SUCCESS : FAILURE) << size;
  }
}
