#pragma once
#include <string>
#include "diagStatus.h"

// The longest command line taken: the line buffer of 200 with its end. A
// longer one is refused (INVALID_STRING), like one of more than 20 words.
constexpr int MAX_LINE_CHARS = 199;

E_STATUS lineParser(int* argc, char argv[][ARG_LEN], const char* line);
E_STATUS cmdExec(int argc, char argv[][ARG_LEN]);
// What the last command run by cmdExec returned itself (cmdExec passes it on
// to nobody): its handler's status, CMD_NOT_FOUND for an unknown command,
// FXN_NOT_SUPPORTED for one not connected in this build.
E_STATUS lastCmdStatus();
void execCmd(std::string line);
