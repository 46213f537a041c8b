#pragma once
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "test.h"

typedef std::map<std::string, Test*> TMap;

// The process-wide registry of self-tests, filled once in a fixed order on
// first use and kept until the process ends; it owns the tests.
class TestMap : public DiagObject {
public:
  static TestMap* getTestMap();
  TMap map;

private:
  TestMap();
  static bool mapInitialized;
  std::vector<std::unique_ptr<Test>> tests;
};
