#pragma once
#include <map>
#include <span>
#include <string>

#include "cmdDecl.h"

// One command of the registry, from its declaration: its word, its help text
// (ending in a newline) and its handler (null: not connected in this build).
struct CmdLineObject {
  explicit CmdLineObject(const CmdDecl& decl)
      : name(decl.name()), helpString(std::string(decl.help) + "\n"), cmd(decl.handler), decl(decl) {}
  std::string name;
  std::string helpString;
  CmdHandler cmd;
  const CmdDecl& decl;
};

typedef std::map<std::string, CmdLineObject> CLOMap;

// The commands of the program by name, made from the declarations every
// command file puts in the program's list. The board holds it; help,
// completion, the dispatcher and the generated documentation read it.
class CmdLineObjectMap {
public:
  CmdLineObjectMap();
  // The named command's record, or null.
  const CmdLineObject* find(const std::string& name) const;
  CLOMap map;
};

// Every command declaration the program was linked with, in no particular order.
std::span<const CmdDecl* const> commandDeclarations();
