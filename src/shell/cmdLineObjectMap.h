#pragma once
#include <map>
#include <string>
#include "cmdLineObject.h"

typedef std::map<std::string, CmdLineObject*> CLOMap;

// The process-wide command registry, filled once in a fixed order on first use.
class CmdLineObjectMap : public DiagObject {
public:
  static CmdLineObjectMap* getCmdLineMap();
  CLOMap map;

private:
  CmdLineObjectMap();
  static CmdLineObjectMap* pCLOM;
  static bool mapInitialized;
};
