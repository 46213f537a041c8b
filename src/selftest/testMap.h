#pragma once
#include <map>
#include <string>

#include "test.h"

typedef std::map<std::string, Test*> TMap;

// The process-wide registry of self-tests, filled once in a fixed order.
class TestMap : public DiagObject {
public:
  static TestMap* getTestMap();
  TMap map;

private:
  TestMap();
  static TestMap* pTM;
  static bool mapInitialized;
};
