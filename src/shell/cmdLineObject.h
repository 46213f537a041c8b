#pragma once
#include <string>
#include "diagStatus.h"

// One operator command: its word, one-line help text and handler (null for a
// command listed for help and completion that this build does not connect).
class CmdLineObject : public DiagObject {
public:
  CmdLineObject(std::string name, std::string helpString, CmdHandler cmd)
      : name(std::move(name)), helpString(std::move(helpString)), cmd(cmd) {}
  std::string name;
  std::string helpString;
  CmdHandler cmd;
};
