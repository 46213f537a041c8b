#pragma once
#include <string>

#include "diagStatus.h"

constexpr const char* REVISION_FILE = "/vesta/diags/revision.txt";

// Build number, branch commit number and merged branch of the installed
// diagnostics, read from the revision file through the kernel seam.
class Revision {
public:
  Revision();
  void dispRev();
  int build = 0;
  int branchCommit = 0;
  std::string mergedBranch;
  bool found = false;
};
