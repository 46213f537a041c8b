#pragma once
#include <string>
#include "diagStatus.h"

E_STATUS lineParser(int* argc, char argv[][ARG_LEN], const char* line);
E_STATUS cmdExec(int argc, char argv[][ARG_LEN]);
void execCmd(std::string line);
