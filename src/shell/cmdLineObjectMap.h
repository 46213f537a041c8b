#pragma once
#include <deque>
#include <map>
#include <span>
#include <string>

#include "cmdLineObject.h"

typedef std::map<std::string, CmdLineObject*> CLOMap;

// The process-wide command registry, filled once on first use from the command
// declarations in their registration order, and kept until the process ends.
// The declarations are handed in by the program's entry (installCommands), so
// that the registry, which help and completion read, knows no command itself.
class CmdLineObjectMap : public DiagObject {
public:
  static CmdLineObjectMap* getCmdLineMap();
  static void install(std::span<const CmdDecl* const> decls);
  // Every command's declaration, in registration order.
  static std::span<const CmdDecl* const> declarations();
  CLOMap map;

private:
  CmdLineObjectMap();
  static bool mapInitialized;
  std::deque<CmdLineObject> records;  // the map's records, kept in place
};
