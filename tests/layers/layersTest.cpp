// The program's layers only look down: the kernel seam, then the base services
// (status codes, log, named semaphores, sleeping), then the FPGA and I2C
// devices, then monitoring and self-tests, then the commands, and the shell on
// top. Checked on the sources' includes and, for calls, on the symbols the
// objects of the built program define and use: no two of them may depend on
// each other in a circle.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "testEnv.h"

namespace fs = std::filesystem;

namespace {
bool definesCommand(const std::string& text) { return std::regex_search(text, std::regex(R"(DIAG_COMMAND\(\w+\);)")); }

std::string folderOf(const fs::path& p) { return p.parent_path().filename().string(); }

int layerOf(const fs::path& p) {
  static const std::map<std::string, int> byDir = {{"kernel", 0}, {"base", 1},     {"fpga", 2},     {"i2c", 2},
                                                   {"monitor", 3}, {"selftest", 3}, {"commands", 4}, {"xmlmod", 4},
                                                   {"shell", 5}};
  auto it = byDir.find(folderOf(p));
  return it == byDir.end() ? -1 : it->second;
}

std::vector<std::string> quotedIncludes(const std::string& text) {
  std::vector<std::string> out;
  std::regex inc(R"(#include\s+"([^"]+)\")");
  for (std::sregex_iterator it(text.begin(), text.end(), inc), end; it != end; ++it) out.push_back((*it)[1]);
  return out;
}

struct SrcFile {
  fs::path path;
  int layer;
  std::vector<std::string> includes;
  bool declaresCommand;
};

std::map<std::string, SrcFile> sources(const fs::path& top) {
  std::map<std::string, SrcFile> files;
  for (const auto& e : fs::recursive_directory_iterator(top)) {
    if (!e.is_regular_file()) continue;
    std::string text = readFile(e.path().string());
    files[e.path().filename().string()] = {e.path(), layerOf(e.path()), quotedIncludes(text), definesCommand(text)};
  }
  return files;
}

// One circle of a dependency graph, its nodes in order; empty when there is none.
std::string circleOf(const std::map<std::string, std::set<std::string>>& g) {
  std::map<std::string, int> state;  // 1 on the path being walked, 2 done
  std::vector<std::string> path;
  std::string found;
  std::function<bool(const std::string&)> visit = [&](const std::string& v) {
    state[v] = 1;
    path.push_back(v);
    if (auto it = g.find(v); it != g.end())
      for (const std::string& w : it->second) {
        if (state[w] == 1) {
          for (auto p = std::find(path.begin(), path.end(), w); p != path.end(); ++p) found += *p + " ";
          return true;
        }
        if (state[w] == 0 && visit(w)) return true;
      }
    state[v] = 2;
    path.pop_back();
    return false;
  };
  for (const auto& [v, edges] : g)
    if (state[v] == 0 && visit(v)) break;
  return found;
}

// Per object of the program's libraries (its own code and the kernel seam): the symbols it defines and those it uses.
struct ObjSymbols {
  std::map<std::string, std::set<std::string>> defines, uses;
};

ObjSymbols librarySymbols() {
  ObjSymbols out;
  std::string objects;
  std::ifstream list(DIAG_PROGRAM_OBJECTS);
  for (std::string line; std::getline(list, line);)
    if (!line.empty()) objects += " '" + line + "'";
  if (objects.empty()) return out;
  std::string cmd = std::string(DIAG_NM) + " -A" + objects + " 2>/dev/null";
  FILE* p = popen(cmd.c_str(), "r");
  if (!p) return out;
  char line[4096];
  std::regex row(R"(^[^:]*:([^:]+\.o):\s*([0-9a-fA-F]*)\s+([A-Za-z])\s+(\S+))");
  while (fgets(line, sizeof line, p)) {
    std::cmatch m;
    if (!std::regex_search(line, m, row)) continue;
    std::string obj = m[1], sym = m[4];
    char kind = m[3].str()[0];
    if (kind == 'U') out.uses[obj].insert(sym);
    else if (std::string("TDBR").find(kind) != std::string::npos) out.defines[obj].insert(sym);
  }
  pclose(p);
  return out;
}
}  // namespace

TEST(Layers, IncludesOnlyLookDownAndNeverGoRound) {
  auto files = sources(fs::path(DIAG_SOURCE_DIR) / "src");
  std::map<std::string, std::set<std::string>> graph;
  for (const auto& [name, f] : files) {
    ASSERT_GE(f.layer, 0) << name << " is in no known layer";
    EXPECT_TRUE(!f.declaresCommand || folderOf(f.path) == "commands") << name << " declares a command outside commands/";
    for (const std::string& inc : f.includes) {
      auto it = files.find(fs::path(inc).filename().string());
      if (it == files.end()) continue;  // a header of the system or of the kernel's API
      EXPECT_LE(it->second.layer, f.layer) << name << " (layer " << f.layer << ") includes " << inc << " (layer "
                                           << it->second.layer << ")";
      graph[name].insert(it->first);
    }
  }
  EXPECT_EQ(circleOf(graph), "") << "files that include each other in a circle";
}

TEST(Layers, TheSimulatedInstrumentOnlyBorrowsTheKernelSeam) {
  auto program = sources(fs::path(DIAG_SOURCE_DIR) / "src");
  auto sim = sources(fs::path(DIAG_SOURCE_DIR) / "sim");
  for (const auto& [name, f] : sim)
    for (const std::string& inc : f.includes) {
      auto it = program.find(fs::path(inc).filename().string());
      if (it != program.end()) {
        EXPECT_EQ(it->second.layer, 0) << name << " borrows the program's " << inc;
      }
    }
}

TEST(Layers, NoTwoObjectsOfTheProgramCallEachOtherInACircle) {
  ObjSymbols syms = librarySymbols();
  if (syms.defines.empty()) GTEST_SKIP() << "no symbols read from the objects in " << DIAG_PROGRAM_OBJECTS << " with " << DIAG_NM;
  std::map<std::string, std::string> definedIn;
  for (const auto& [obj, defs] : syms.defines)
    for (const std::string& s : defs) definedIn.emplace(s, obj);
  std::map<std::string, std::set<std::string>> graph;
  for (const auto& [obj, used] : syms.uses)
    for (const std::string& s : used) {
      auto it = definedIn.find(s);
      if (it != definedIn.end() && it->second != obj) graph[obj].insert(it->second);
    }
  EXPECT_EQ(circleOf(graph), "") << "objects that call each other in a circle";
}
