#pragma once
#include <map>
#include <memory>
#include <string>

#include "allOkay.h"

typedef std::map<std::string, std::unique_ptr<AllOkay>> AllOKMap;

// Every all-okay source by name; built afresh for each command.
class AllOkayMap : public DiagObject {
public:
  AllOkayMap();
  AllOkay* find(const std::string& name);
  AllOKMap map;
};
