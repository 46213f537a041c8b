// XML files, and the identity documents of the board EEPROMs, with libxml2.
#include "board.h"
#include "boardIdLayout.h"
#include "i2cEeprom.h"
#include "xmlModuleLoad.h"

namespace {
const char* const head[] = {"xml - check XML files and query them, or a board's identity, with XPath"};
const OptDecl file = wordOpt("-f").says(" -f <file> - an XML file: checked, and its outline shown unless -x asks");
const OptDecl board = wordOpt("-d").says(" -d <eeprom> - the identity in a board EEPROM instead of a file");
const OptDecl xpath = wordOpt("-x").says(" -x <xpath> - each match on a line (an element's text, an attribute's value)");
const OptDecl* const opts[] = {&file, &board, &xpath};

E_STATUS xml(const Args& args, Board& b) {
  if (args.has(file) == args.has(board)) {
    LOGERR(LOG_TERM, "give either -f or -d, see xml -h\n");
    return BAD_PARAMETER;
  }
  const char* query = args.has(xpath) ? args.word(xpath) : nullptr;
  if (args.has(board)) {
    I2cDev* d = b.i2c.find(args.word(board));
    if (!d || !d->boardIdMem) {
      LOGERR(LOG_TERM, "%s is not a board EEPROM of this host, see eeprom -l\n", args.word(board));
      return BAD_PARAMETER;
    }
  }
  const S_XML_MODULE* m = xmlModule("xml");
  if (!m) return FXN_NOT_SUPPORTED;
  LogSink sink("xml");
  if (args.has(file)) return static_cast<E_STATUS>(m->xmlFile(args.word(file), query, &sink));
  unsigned char img[boardId::IMAGE_BYTES];
  if (E_STATUS st = I2cEeprom(b.i2c, args.word(board)).rdIdentity(img); st != SUCCESS) return st;
  return static_cast<E_STATUS>(m->idQuery(img, sizeof img, query, &sink));
}
}  // namespace

constinit const CmdDecl xmlCmd = {
    .help = "XML file access", .args = {.name = "xml", .head = head, .opts = opts}, .handler = xml};
DIAG_COMMAND(xmlCmd);
