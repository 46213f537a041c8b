#pragma once
#include <map>
#include <memory>
#include <string>

#include "allOkay.h"

typedef std::map<std::string, std::unique_ptr<AllOkay>> AllOKMap;

// Every all-okay source by name, on the board's devices; built afresh for each command.
class AllOkayMap {
public:
  explicit AllOkayMap(const Devices& dev);
  AllOkay* find(const std::string& name);
  AllOKMap map;
};
