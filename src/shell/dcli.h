#pragma once
#include <cstdio>
#include "diagStatus.h"

constexpr int CMD_LINE_LEN = 200;

E_STATUS getCmdLine(char** line);
// Joins the program arguments into the one command line the shell runs.
void setCmdLine(int argc, char** argv);
E_STATUS DCLI();
// Runs the lines of an open script, named in messages; part of the shell loop.
E_STATUS runScript(FILE* f, const char* name);
