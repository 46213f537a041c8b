#include "revision.h"

#include <fcntl.h>

#include <cstdio>
#include <cstdlib>

#include "kernel.h"

namespace {
std::string readWhole(const char* path, bool* found) {
  std::string text;
  Kernel& k = kernel();
  int fd = k.open(path, O_RDONLY);
  *found = fd >= 0;
  if (fd < 0) return text;
  char buf[512];
  ssize_t n;
  while ((n = k.read(fd, buf, sizeof buf)) > 0 && text.size() < 65536) text.append(buf, static_cast<size_t>(n));
  k.close(fd);
  return text;
}
}  // namespace

Revision::Revision() {
  std::string text = readWhole(REVISION_FILE, &found);
  size_t pos = 0;
  while (pos < text.size()) {
    size_t end = text.find('\n', pos);
    if (end == std::string::npos) end = text.size();
    std::string line = text.substr(pos, end - pos);
    pos = end + 1;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    size_t colon = line.find(':');
    if (colon == std::string::npos) continue;
    std::string key = line.substr(0, colon), value = line.substr(colon + 1);
    if (key == "build")
      build = atoi(value.c_str());
    else if (key == "branch_commit")
      branchCommit = atoi(value.c_str());
    else if (key == "merge_to_devel")
      mergedBranch = value;
  }
}

void Revision::dispRev() {
  printf("Merged to develop branch from branch %s\n", mergedBranch.c_str());
  printf("Branch commit# %d\n", branchCommit);
  printf("Build# %d\n", build);
  fflush(stdout);
}
