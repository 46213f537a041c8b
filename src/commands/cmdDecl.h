#pragma once
#include "args.h"

struct Board;

// One command of the registry: its one-line help (without its newline), how
// its words are read, and its handler (null: listed for help and completion,
// but not connected in this build). The dispatcher scans the words from the
// declaration before the handler runs, so a handler never sees -h, a word the
// command does not have or a bad number.
using CmdHandler = E_STATUS (*)(const Args& args, Board& board);

struct CmdDecl {
  const char* help = "";
  ArgsDecl args;
  CmdHandler handler = nullptr;
  const char* name() const { return args.name; }
};

// Puts a declaration in the program's list of commands: every command file
// ends with one, and nothing else names its command anywhere. The linker
// gathers the entries of every command file into one section, which the
// registry reads (cmdLineObjectMap.cpp).
#define DIAG_COMMAND(decl) \
  [[gnu::used, gnu::retain]] __attribute__((section("diag_cmds"))) const CmdDecl* const decl##Entry = &decl
