#include "cmdLineObjectMap.h"

// The bounds of the section that DIAG_COMMAND fills, set by the linker.
extern "C" const CmdDecl* const __start_diag_cmds[];
extern "C" const CmdDecl* const __stop_diag_cmds[];

std::span<const CmdDecl* const> commandDeclarations() { return {__start_diag_cmds, __stop_diag_cmds}; }

CmdLineObjectMap::CmdLineObjectMap() {
  for (const CmdDecl* d : commandDeclarations()) map.try_emplace(d->name(), *d);
}

const CmdLineObject* CmdLineObjectMap::find(const std::string& name) const {
  auto it = map.find(name);
  return it == map.end() ? nullptr : &it->second;
}
