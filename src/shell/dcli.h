#pragma once
#include <cstdio>
#include "diagStatus.h"

E_STATUS getCmdLine(char** line);
// Joins the program arguments into the one command line the shell runs.
void setCmdLine(int argc, char** argv);
// The shell. One-shot: the status the command (or the worst line of the
// script) returned itself; interactive: that of the last action.
E_STATUS DCLI();
// Runs the lines of an open script, named in messages; part of the shell loop.
// The worst status a line gave (see exitCode), FAILURE when the file cannot be
// read or an interrupt stopped the script.
E_STATUS runScript(FILE* f, const char* name);
