// The manual page and the completion list are generated from the command
// declarations at build time: they say what the built program says.
#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>

#include "programs.h"
#include "testEnv.h"
#include "textUtil.h"

namespace {
// The page's text with its troff escapes undone.
std::string pageText(const std::string& path) {
  static const std::map<std::string, std::string> undone = {{"\\-", "-"}, {"\\e", "\\"}, {"\\&", ""}};
  std::string page = readFile(path), out;
  for (size_t i = 0; i < page.size(); ++i) {
    const auto escape = undone.find(page.substr(i, 2));
    out += escape == undone.end() ? page.substr(i, 1) : escape->second;
    i += escape != undone.end();  // the escape's second character taken with it
  }
  return out;
}

}  // namespace

TEST(Documentation, ManPageAndCompletionSayWhatTheProgramSays) {
  const std::string page = pageText(std::string(DIAG_DOC_DIR) + "/diag.1");
  const std::string completion = readFile(std::string(DIAG_DOC_DIR) + "/diag.bash-completion");
  const size_t w = completion.find("-W \"");
  ASSERT_NE(w, std::string::npos);
  const std::string words = " " + completion.substr(w + 4, completion.find('"', w + 4) - w - 4) + " ";
  ASSERT_FALSE(page.empty());
  RunResult help = runSim({"help"});
  std::vector<std::string> listed = splitLines(help.out);
  ASSERT_EQ(listed.size(), 59u);
  // Every command's -h in one script run; "#!" lines are echoed and mark where each output starts.
  std::string script;
  for (const std::string& entry : listed) {
    const std::string name = entry.substr(0, entry.find(" - "));
    // These take no options: -h is not theirs. A script cannot run "file": the shell does (below).
    if (name == "help" || name == "version" || name == "listtests" || name == "ta" || name == "bg" || name == "file")
      continue;
    script += "#!@@ " + name + "\n" + name + " -h\n";
  }
  writeFile(testPath("usages.txt"), script);
  std::map<std::string, std::string> usage;
  std::string current;
  for (const std::string& l : splitLines(runSim({"file", testPath("usages.txt")}).out)) {
    if (l.rfind("#!@@ ", 0) == 0)
      current = l.substr(5);
    else
      usage[current] += l + "\n";
  }
  usage["file"] = runSim({"file", "-h"}).out;
  for (const std::string& entry : listed) {
    const size_t dash = entry.find(" - ");
    ASSERT_NE(dash, std::string::npos) << entry;
    const std::string name = entry.substr(0, dash), text = entry.substr(dash + 3);
    const size_t at = page.find(".B " + name + "\n" + text + "\n");
    ASSERT_NE(at, std::string::npos) << entry;
    EXPECT_NE(words.find(" " + name + " "), std::string::npos) << name;
    if (!usage.count(name)) continue;
    // A command without options answers -h with its help line, which the page already gives under its name.
    if (usage[name] == entry + "\n") continue;
    const std::string section = page.substr(at, page.find(".TP\n", at) - at);
    if (usage[name].find("command not connected") != std::string::npos) {
      EXPECT_NE(section.find("Not connected in this build"), std::string::npos) << name;
      continue;
    }
    // Each connected command's usage, as its -h prints it, stands under its name.
    for (const std::string& l : splitLines(usage[name])) EXPECT_NE(section.find(l + "\n"), std::string::npos) << name << ": " << l;
  }
}
