#pragma once
#include <string>

#include "argsDecl.h"

// One operator command of the registry, made from its declaration: its word,
// one-line help text (ending in a newline) and handler (null for a command
// listed for help and completion that this build does not connect).
class CmdLineObject : public DiagObject {
public:
  explicit CmdLineObject(const CmdDecl& decl)
      : name(decl.name()), helpString(std::string(decl.help) + "\n"), cmd(decl.handler), decl(decl) {}
  std::string name;
  std::string helpString;
  CmdHandler cmd;
  const CmdDecl& decl;
};
