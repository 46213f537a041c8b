#pragma once
#include <map>
#include <string>
#include "diagStatus.h"

// Catalogue of the codes that failing tests and power-on checks print as "!%04X".
class ErrCode {
public:
  ErrCode();
  void prCodes();
  std::map<int, std::string> errMap;
  std::map<int, std::string> wrnMap;
};
