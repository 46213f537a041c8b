#include "recording.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "kernelText.h"

namespace {
const char* const FIRST_LINE = "diag recording 1";

// "17 0.001234 i2c-2 0x52 smbus read word_data cmd 0x90 -> 0be0"
bool requestLine(const std::string& line, RecLine* out) {
  size_t numEnd = line.find(' ');
  size_t stampEnd = numEnd == std::string::npos ? numEnd : line.find(' ', numEnd + 1);
  if (stampEnd == std::string::npos || stampEnd == numEnd + 1 || line.find_first_not_of("0123456789") != numEnd ||
      line.find_first_not_of("0123456789.", numEnd + 1) != stampEnd)
    return false;
  out->number = strtoul(line.c_str(), nullptr, 10);  // too large: ULONG_MAX, which is no request's number
  std::string words = line.substr(stampEnd + 1);
  size_t at = answerAt(words);
  out->request = at == std::string::npos ? words : words.substr(0, at - 4);
  out->answer = at == std::string::npos ? "" : words.substr(at);
  return !out->request.empty();
}

// One line of the head; false for a line that is none.
bool headLine(const std::string& key, const std::string& rest, Recording* rec) {
  std::vector<std::string> w;
  if (key == "version") rec->version = rest;
  else if (key == "start") rec->start = rest;
  else if (key == "pid" || key == "parent" || key == "end") return true;  // for the reader of the file, not the replay
  else if (key == "args") return splitWords(rest, &rec->args);
  else if (key == "env" && splitWords(rest, &w) && w.size() == 2) rec->env.emplace_back(w[0], w[1]);
  else return false;
  return true;
}
}  // namespace

std::string Recording::zone() const {
  size_t blank = start.rfind(' ');
  return blank == std::string::npos ? "" : start.substr(blank + 1);
}

bool readRecording(const std::string& path, Recording* rec, std::string* why) {
  *rec = Recording();
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    *why = "cannot read " + path + " (" + strerror(errno) + ")";
    return false;
  }
  std::string line;
  unsigned long lineNo = 0;
  while (std::getline(in, line)) {
    ++lineNo;
    const std::string where = path + ", line " + std::to_string(lineNo);
    if (lineNo == 1 && line != FIRST_LINE) {
      *why = path + " is not a recording of diag (its first line is not \"" + FIRST_LINE + "\")";
      return false;
    }
    if (lineNo == 1 || line.empty()) continue;
    RecLine l;
    if (line[0] >= '0' && line[0] <= '9') {
      if (!requestLine(line, &l) || l.number != rec->lines.size() + 1) {
        *why = where + ": not request " + std::to_string(rec->lines.size() + 1) + " of the recording";
        return false;
      }
      rec->lines.push_back(l);
      continue;
    }
    size_t blank = line.find(' ');
    if (!headLine(line.substr(0, blank), blank == std::string::npos ? "" : line.substr(blank + 1), rec)) {
      *why = where + ": not a line of a recording";
      return false;
    }
  }
  if (lineNo == 0) *why = path + " is empty: not a recording";
  else if (rec->args.empty()) *why = path + " holds no command line";
  return lineNo > 0 && !rec->args.empty();
}
