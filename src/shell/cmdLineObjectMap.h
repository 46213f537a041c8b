#pragma once
#include <deque>
#include <map>
#include <span>
#include <string>

#include "cmdLineObject.h"

typedef std::map<std::string, CmdLineObject*> CLOMap;

// The process-wide command registry, filled once from the command declarations
// in their registration order on first use, and kept until the process ends.
class CmdLineObjectMap : public DiagObject {
public:
  static CmdLineObjectMap* getCmdLineMap();
  // Every command's declaration, in registration order.
  static std::span<const CmdDecl* const> declarations();
  CLOMap map;

private:
  CmdLineObjectMap();
  static bool mapInitialized;
  std::deque<CmdLineObject> records;  // the map's records, kept in place
};
