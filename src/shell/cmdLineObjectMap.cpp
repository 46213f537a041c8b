#include "cmdLineObjectMap.h"

bool CmdLineObjectMap::mapInitialized = false;

namespace {
std::span<const CmdDecl* const> installed;
}  // namespace

void CmdLineObjectMap::install(std::span<const CmdDecl* const> decls) { installed = decls; }

std::span<const CmdDecl* const> CmdLineObjectMap::declarations() { return installed; }

CmdLineObjectMap::CmdLineObjectMap() {
  mapInitialized = true;
  for (const CmdDecl* d : installed) {
    if (map.count(d->name())) continue;  // a second record of a name already present is dropped
    CmdLineObject& obj = records.emplace_back(*d);
    map.insert(CLOMap::value_type(obj.name, &obj));
  }
}

CmdLineObjectMap* CmdLineObjectMap::getCmdLineMap() {
  static CmdLineObjectMap registry;
  return &registry;
}
