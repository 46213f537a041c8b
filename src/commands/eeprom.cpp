// The board EEPROMs: their labels, their identities, a test of the part on its
// test page, and an image saved, built offline or loaded.
#include <array>
#include <cerrno>
#include <cstring>
#include <cstdio>

#include "board.h"
#include "boardIdLayout.h"
#include "i2cEeprom.h"
#include "log.h"
#include "outFile.h"
#include "xmlModuleLoad.h"

namespace {
using Image = std::array<unsigned char, boardId::IMAGE_BYTES>;

const char* const head[] = {"eeprom - the board EEPROMs (24LC32A) and the board identities they hold"};
const OptDecl list = flagOpt("-l").says(" -l - list the board EEPROMs of this host with their labels");
const OptDecl ident = wordOpt("-id").says(" -id <name> - decode the board identity in the EEPROM");
const OptDecl test = wordOpt("-t").says(
    " -t <name> - test the part on its test page (0xfe0-0xfff) and put back what was there: PASSED or FAILED");
const OptDecl save = wordOpt("-save").says(" -save <name> -f <file> - save the EEPROM's 4096-byte image in a file");
const OptDecl load = wordOpt("-load").says(
    " -load <name> -f <file> - write a 4096-byte image to the EEPROM, page by page, each read back");
const OptDecl make = flagOpt("-mk").says(
    " -mk -x <xml> -f <file> - build an image file from an identity document (no EEPROM is touched)");
const OptDecl file = wordOpt("-f").says(" -f <file> - the image file of -save, -load and -mk");
const OptDecl xml = wordOpt("-x").says(" -x <xml> - the identity document of -mk");
const OptDecl* const opts[] = {&list, &ident, &test, &save, &load, &make, &file, &xml};

// What the test writes on the test page, one page each.
constexpr unsigned char PATTERNS[] = {0x55, 0xAA, 0x00, 0xFF};

E_STATUS listEeproms(Board& board) {
  log(LOG_TERM, "%-12s label\n", "name");
  E_STATUS st = SUCCESS;
  for (const std::string& n : I2cEeprom::names(board.i2c)) {
    unsigned char label[boardId::LABEL_BYTES + 1] = {};
    if (I2cEeprom(board.i2c, n).rd(boardId::LABEL_OFF, label, boardId::LABEL_BYTES, true) != SUCCESS) {
      log(LOG_TERM, "%-12s (does not answer)\n", n.c_str());
      st = FAILURE;
      continue;
    }
    std::string text;
    for (size_t k = 0; label[k]; ++k)  // the byte after the label's is 0
      text += shownChar(label[k]);
    log(LOG_TERM, "%-12s %s\n", n.c_str(), label[0] == 0xFF ? "(blank)" : text.c_str());
  }
  return st;
}

bool isBoardEeprom(Board& board, const char* name) {
  I2cDev* d = board.i2c.find(name);
  if (d && d->boardIdMem) return true;
  LOGERR_FN(LOG_TERM, "eeprom", "%s is not a board EEPROM of this host, see eeprom -l\n", name);
  return false;
}

E_STATUS readImage(Board& board, const char* name, Image& img) {
  return I2cEeprom(board.i2c, name).rd(0, img.data(), img.size());
}

E_STATUS decode(Board& board, const char* name) {
  const S_XML_MODULE* m = xmlModule("eeprom");
  if (!m) return FXN_NOT_SUPPORTED;
  Image img;
  if (E_STATUS st = I2cEeprom(board.i2c, name).rdIdentity(img.data()); st != SUCCESS) return st;
  std::string prefix = std::string(name) + ": ";
  LogSink sink("eeprom", prefix.c_str());
  return static_cast<E_STATUS>(m->idDecode(img.data(), img.size(), ID_FIELDS, &sink));
}

// Writes a page and reads it back; a byte that differs fails with both values.
E_STATUS writeChecked(I2cEeprom& ee, const char* name, unsigned off, const unsigned char* data, size_t n) {
  unsigned char back[I2cEeprom::PAGE];
  if (ee.wrPage(off, data, n) != SUCCESS || ee.rd(off, back, n) != SUCCESS) return FAILURE;
  for (size_t k = 0; k < n; ++k) {
    if (back[k] == data[k]) continue;
    LOGERR_FN(LOG_TERM, "eeprom", "%s byte 0x%03zx: wrote 0x%02x, read back 0x%02x\n", name, off + k, data[k],
              back[k]);
    return FAILURE;
  }
  return SUCCESS;
}

E_STATUS testPart(Board& board, const char* name) {
  I2cEeprom ee(board.i2c, name);
  unsigned char found[I2cEeprom::PAGE], pattern[I2cEeprom::PAGE];
  E_STATUS st = ee.rd(boardId::TEST_PAGE_OFF, found, sizeof found);
  if (st == SUCCESS) {
    for (unsigned char p : PATTERNS) {
      memset(pattern, p, sizeof pattern);
      if ((st = writeChecked(ee, name, boardId::TEST_PAGE_OFF, pattern, sizeof pattern)) != SUCCESS) break;
    }
    // Each byte a different value: a page that ignores an address bit shows.
    for (size_t k = 0; st == SUCCESS && k < sizeof pattern; ++k) pattern[k] = static_cast<unsigned char>(k * 7 + 1);
    if (st == SUCCESS) st = writeChecked(ee, name, boardId::TEST_PAGE_OFF, pattern, sizeof pattern);
    E_STATUS back = writeChecked(ee, name, boardId::TEST_PAGE_OFF, found, sizeof found);
    if (back != SUCCESS) LOGERR_FN(LOG_TERM, "eeprom", "the test page of %s could not be put back\n", name);
    if (st == SUCCESS) st = back;
  }
  log(LOG_TERM, "eeprom test %s %s\n", name, st == SUCCESS ? "PASSED" : "FAILED");
  return st;
}

E_STATUS writeImage(const Image& img, const char* path) {
  OutFile out;
  if (out.open(path, "wb") != SUCCESS) return FAILURE;
  fwrite(img.data(), 1, img.size(), out.stream());
  return out.close();
}

E_STATUS saveImage(Board& board, const char* name, const char* path) {
  Image img;
  if (E_STATUS st = readImage(board, name, img); st != SUCCESS) return st;
  return writeImage(img, path);
}

// stdio rather than iostreams: the program carries its C++ library in itself,
// and the streams would bring their locales with them (half a megabyte).
E_STATUS loadFile(const char* path, Image& img) {
  FILE* f = fopen(path, "rb");
  if (!f) {
    int err = errno;
    LOGERR_FN(LOG_TERM, "eeprom", "unable to open file %s: %s (%d)\n", path, strerror(err), err);
    return FAILURE;
  }
  size_t got = fread(img.data(), 1, img.size(), f);
  bool more = fgetc(f) != EOF;
  fclose(f);
  if (got == img.size() && !more) return SUCCESS;
  if (more)
    LOGERR_FN(LOG_TERM, "eeprom", "%s is longer than %zu bytes: an image is exactly that; nothing was written\n", path,
              img.size());
  else
    LOGERR_FN(LOG_TERM, "eeprom", "%s is %zu bytes: an image is exactly %zu; nothing was written\n", path, got,
              img.size());
  return BAD_PARAMETER;
}

E_STATUS loadImage(Board& board, const char* name, const char* path) {
  Image img;
  if (E_STATUS st = loadFile(path, img); st != SUCCESS) return st;
  I2cEeprom ee(board.i2c, name);
  for (unsigned off = 0; off < img.size(); off += I2cEeprom::PAGE)
    if (writeChecked(ee, name, off, img.data() + off, I2cEeprom::PAGE) != SUCCESS) {
      LOGERR_FN(LOG_TERM, "eeprom", "%s: loading %s stopped at 0x%03x\n", name, path, off);
      return FAILURE;
    }
  log(LOG_TERM, "%s: %zu bytes written and read back\n", name, img.size());
  return SUCCESS;
}

E_STATUS makeImage(const char* xmlPath, const char* path) {
  const S_XML_MODULE* m = xmlModule("eeprom");
  if (!m) return FXN_NOT_SUPPORTED;
  Image img;
  LogSink sink("eeprom");
  if (m->idMake(xmlPath, img.data(), img.size(), &sink) != SUCCESS) return FAILURE;
  return writeImage(img, path);
}

E_STATUS needs(const Args& args, const OptDecl& o, const char* what) {
  if (args.has(o)) return SUCCESS;
  LOGERR_FN(LOG_TERM, "eeprom", "%s needs %s\n", what, o.name);
  return BAD_PARAMETER;
}

E_STATUS eeprom(const Args& args, Board& board) {
  const OptHit* act = args.lastOf({&list, &ident, &test, &save, &load, &make});
  int acts = args.has(list) + args.has(ident) + args.has(test) + args.has(save) + args.has(load) + args.has(make);
  if (acts != 1) {
    LOGERR(LOG_TERM, "give one of -l, -id, -t, -save, -load and -mk, see eeprom -h\n");
    return BAD_PARAMETER;
  }
  if (act->opt == &list) return listEeproms(board);
  if (act->opt == &make) {
    if (E_STATUS st = needs(args, xml, "-mk"); st != SUCCESS) return st;
    if (E_STATUS st = needs(args, file, "-mk"); st != SUCCESS) return st;
    return makeImage(args.word(xml), args.word(file));
  }
  const char* name = act->word[0];
  if (!isBoardEeprom(board, name)) return BAD_PARAMETER;
  if (act->opt == &ident) return decode(board, name);
  if (act->opt == &test) return testPart(board, name);
  if (E_STATUS st = needs(args, file, act->opt->name); st != SUCCESS) return st;
  return act->opt == &save ? saveImage(board, name, args.word(file)) : loadImage(board, name, args.word(file));
}
}  // namespace

constinit const CmdDecl eepromCmd = {
    .help = "EEPROM tester", .args = {.name = "eeprom", .head = head, .opts = opts}, .handler = eeprom};
DIAG_COMMAND(eepromCmd);
