#pragma once
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "devices.h"
#include "test.h"

typedef std::map<std::string, Test*> TMap;

// The self-tests by name, filled in a fixed order on the board's devices; the
// board holds it, and it owns the tests.
class TestMap {
public:
  explicit TestMap(const Devices& dev);
  TMap map;

private:
  std::vector<std::unique_ptr<Test>> tests;
};
