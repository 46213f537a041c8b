#include <cstdio>
#include <cstring>

#include "commands.h"
#include "log.h"
#include "testMap.h"

E_STATUS testExec(int argc, char argv[][ARG_LEN]) {
  if (argc < 1) return BAD_PARAMETER;
  if (!argv) return NULL_POINTER;
  if (argc == 1 || (argc == 2 && !strcmp(argv[1], "-h"))) {
    log(LOG_TERM, "usage:  runtest <-h|testname> [-h]\n");
    log(LOG_TERM, "         type listtests for a list of test names\n");
    return SUCCESS;
  }
  TestMap* tm = TestMap::getTestMap();
  if (!tm) {
    log(LOG_TERM, "pCLOMap is NULL, exiting\r\n");
    return NULL_POINTER;
  }
  auto it = tm->map.find(argv[1]);
  if (it == tm->map.end())
    log(LOG_TERM, "command not found\r\n");
  else
    it->second->runTest(argc, argv);  // each test prints its own verdict
  return SUCCESS;
}

E_STATUS listTests(int argc, char argv[][ARG_LEN]) {
  for (const auto& [name, test] : TestMap::getTestMap()->map) printf("%s - %s\n", name.c_str(), test->helpString.c_str());
  fflush(stdout);
  return SUCCESS;
}
