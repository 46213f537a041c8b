// Docs that run: every command example in README.md, docs/*.md and
// bench/README.md is run on the simulated instrument and must print what the
// page shows. How an example is written and marked is in docs/testing.md
// ("Examples in the docs"):
//
//   ```diag                    each "diag> LINE" runs as a one-shot diag-sim LINE, recorded
//   diag> ec -cd Scan          (DIAG_RECORD) and replayed, which must print and end the same;
//                              the lines after it, up to the next, are what it prints
//   !1729
//   ```
//
//   ```sh                      each "$ LINE" runs under /bin/sh; the lines after it are
//   $ diag-simctl show         what it prints (standard output and error)
//   ...                        "..." alone: any lines, none included; inside a line: any text (four dots or more
//                              in a row are dots)
//   ```
//
//   <!-- not run: REASON -->   on the line before a fence: the block is not run, for that reason
//
// Each block runs in a directory of its own with a fresh simulated instrument,
// the build's programs first on the PATH and the source tree's examples/.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "programs.h"
#include "testEnv.h"
#include "textUtil.h"

namespace fs = std::filesystem;

namespace {
constexpr int COMMAND_MS = 120000;
const std::string NOT_RUN = "<!-- not run:";


struct Command {
  int lineNo;
  std::string line;
  std::vector<std::string> expected;
};

struct Block {
  std::string file;
  int lineNo;  // of the opening fence
  std::string kind;  // the fence's info string
  std::string notRun;  // the reason, for a marked block
  std::vector<std::string> lines;
};

std::string trimRight(std::string s) { return s.erase(s.find_last_not_of(" \r\t") + 1); }

// A printed line as the terminal shows it: what follows a carriage return (a progress count) is what stays.
std::string shown(const std::string& line) {
  std::string s = trimRight(line);
  return s.substr(s.rfind('\r') == std::string::npos ? 0 : s.rfind('\r') + 1);
}

// The fenced blocks of a page, and each line outside them that looks like an unfenced example.
std::vector<Block> blocksOf(const fs::path& page, std::vector<std::string>* loose) {
  std::vector<Block> blocks;
  std::vector<std::string> lines = splitLines(readFile(page.string()));
  const std::string name = fs::relative(page, DIAG_SOURCE_DIR).string();
  for (size_t i = 0; i < lines.size(); ++i) {
    const size_t indent = lines[i].find_first_not_of(' ');
    const std::string text = indent == std::string::npos ? "" : lines[i].substr(indent);
    if (text.rfind("```", 0) != 0) {
      if (indent >= 4 && (text.rfind("diag", 0) == 0 || text.rfind("$ ", 0) == 0 || text.rfind("scripts/", 0) == 0 ||
                          text.rfind("build/", 0) == 0 || text.rfind("ctest", 0) == 0))
        loose->push_back(name + ":" + std::to_string(i + 1) + ": " + text);
      continue;
    }
    Block b{name, static_cast<int>(i + 1), trimRight(text.substr(3)), "", {}};
    if (i > 0 && lines[i - 1].find(NOT_RUN) != std::string::npos) {
      const std::string& m = lines[i - 1];
      const size_t from = m.find(NOT_RUN) + NOT_RUN.size();
      b.notRun = trimRight(m.substr(from, m.find("-->") - from));
    }
    for (++i; i < lines.size() && lines[i].find("```") == std::string::npos; ++i)
      b.lines.push_back(trimRight(lines[i].size() > indent ? lines[i].substr(indent) : ""));
    blocks.push_back(b);
  }
  return blocks;
}

std::vector<Command> commandsOf(const Block& b, const std::string& prompt) {
  std::vector<Command> out;
  for (size_t k = 0; k < b.lines.size(); ++k) {
    if (b.lines[k].rfind(prompt, 0) == 0)
      out.push_back({b.lineNo + 1 + static_cast<int>(k), b.lines[k].substr(prompt.size()), {}});
    else if (!out.empty())
      out.back().expected.push_back(b.lines[k]);
  }
  return out;
}

// One line against a pattern in which "..." stands for any text; a longer run of dots (a dump's leader) is itself.
bool lineMatches(const std::string& pattern, const std::string& line) {
  size_t dots = 0;
  for (; (dots = pattern.find("...", dots)) != std::string::npos; ++dots)
    if ((dots == 0 || pattern[dots - 1] != '.') && pattern[dots + 3] != '.') break;
  if (dots == std::string::npos) return pattern == line;
  if (line.compare(0, dots, pattern, 0, dots) != 0) return false;
  const std::string rest = pattern.substr(dots + 3);
  for (size_t at = dots; at <= line.size(); ++at)
    if (lineMatches(rest, line.substr(at))) return true;
  return false;
}

// Lines against patterns in which a line "..." stands for any lines.
bool linesMatch(const std::vector<std::string>& want, size_t w, const std::vector<std::string>& got, size_t g) {
  if (w == want.size()) return g == got.size();
  if (want[w] == "...") {
    for (size_t skip = g; skip <= got.size(); ++skip)
      if (linesMatch(want, w + 1, got, skip)) return true;
    return false;
  }
  return g < got.size() && lineMatches(want[w], got[g]) && linesMatch(want, w + 1, got, g + 1);
}

std::string shQuoted(const std::string& s) {
  std::string q = "'";
  for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return q + "'";
}

// A directory with the build's programs (through the emulator where there is one) and the examples.
std::string blockDir(int n) {
  const std::string dir = testPath("doc" + std::to_string(n));
  mkdir(dir.c_str(), 0755);
  mkdir((dir + "/bin").c_str(), 0755);
  const std::pair<const char*, std::string> programs[] = {
      {"diag", diagBin()}, {"diag-sim", diagSimBin()}, {"diag-simctl", simctlBin()}, {"diag-replay", replayBin()}};
  for (const auto& [name, bin] : programs) {
    std::string exec = "exec";
    for (const std::string& w : programArgv(bin, {})) exec += " " + shQuoted(w);
    writeFile(dir + "/bin/" + name, "#!/bin/sh\n" + exec + " \"$@\"\n");
    chmod((dir + "/bin/" + name).c_str(), 0755);
  }
  symlink((std::string(DIAG_SOURCE_DIR) + "/examples").c_str(), (dir + "/examples").c_str());
  return dir;
}

// The shell line that runs a command of the block in its directory.
std::string shellLine(const std::string& dir, const std::string& kind, const std::string& line) {
  std::string words;
  if (kind == "diag") {
    words = "DIAG_RECORD=replay.rec diag-sim";
    std::stringstream ss(line);
    for (std::string w; std::getline(ss, w, ' ');) words += " " + shQuoted(w);
  }
  return "cd " + shQuoted(dir) + " && PATH=" + shQuoted(dir + "/bin") + ":\"$PATH\" DIAG_SIM_STATE=" +
         shQuoted(dir + "/sim.state") + " && export PATH DIAG_SIM_STATE && unset DIAG_SIM_TRACE && " +
         (kind == "diag" ? words : line);
}

// What went wrong with the block, "" when it printed what the page shows.
std::string runBlock(const Block& b, int n) {
  const std::string dir = blockDir(n);
  std::string faults;
  for (const Command& c : commandsOf(b, b.kind == "diag" ? "diag> " : "$ ")) {
    RunResult r = runProgram({"/bin/sh", "-c", shellLine(dir, b.kind, c.line)}, "", COMMAND_MS);
    if (b.kind == "diag") {
      RunResult again = runProgram({"/bin/sh", "-c", shellLine(dir, "sh", "diag-replay replay.rec")}, "", COMMAND_MS);
      if (again.out != r.out || again.exitCode != r.exitCode)
        faults += b.file + ":" + std::to_string(c.lineNo) + ": " + c.line + "\n  replayed, it printed (status " +
                  std::to_string(again.exitCode) + " for " + std::to_string(r.exitCode) + "):\n" + again.out;
    }
    std::vector<std::string> got;
    for (const std::string& l : splitLines(r.out)) got.push_back(shown(l));
    if (r.timedOut || !linesMatch(c.expected, 0, got, 0)) {
      faults += b.file + ":" + std::to_string(c.lineNo) + ": " + c.line + "\n  the page shows:\n";
      for (const std::string& l : c.expected) faults += "    " + l + "\n";
      faults += std::string("  it printed") + (r.timedOut ? " (and did not end in time)" : "") + ":\n";
      for (const std::string& l : got) faults += "    " + l + "\n";
    }
  }
  return faults;
}
}  // namespace

TEST(DocExamples, EveryExampleRunsAndPrintsWhatThePageShows) {
  const fs::path top = DIAG_SOURCE_DIR;
  std::vector<fs::path> pages = {top / "README.md", top / "bench/README.md"};
  for (const auto& e : fs::directory_iterator(top / "docs"))
    if (e.path().extension() == ".md") pages.push_back(e.path());
  std::vector<std::string> loose;
  int ran = 0, marked = 0;
  for (const fs::path& page : pages) {
    for (const Block& b : blocksOf(page, &loose)) {
      SCOPED_TRACE(b.file + ":" + std::to_string(b.lineNo));
      if (!b.notRun.empty()) {
        ++marked;
        continue;
      }
      if (b.kind.empty()) {
        ADD_FAILURE() << "a fence without its kind: ```diag or ```sh to run it, another kind for what is no command";
        continue;
      }
      if (b.kind != "diag" && b.kind != "sh") {
        for (const std::string& l : b.lines)
          EXPECT_FALSE(l.rfind("diag> ", 0) == 0 || l.rfind("$ ", 0) == 0)
              << "a command in a ```" << b.kind << " block";
        continue;
      }
      EXPECT_FALSE(commandsOf(b, b.kind == "diag" ? "diag> " : "$ ").empty()) << "a ```" << b.kind << " block runs nothing";
      EXPECT_EQ(runBlock(b, ran++), "");
    }
  }
  EXPECT_EQ(loose, std::vector<std::string>()) << "examples outside a fenced block: fence them, or mark them not run";
  // The pages hold examples of both kinds and marks; a page that lost them all would pass unseen.
  EXPECT_GE(ran, 12);
  EXPECT_GE(marked, 5);
}
