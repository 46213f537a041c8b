#pragma once
#include <string>
#include <vector>

// Paths of the built programs; under a cross build they run through the emulator.
std::string diagBin();
std::string diagSimBin();
std::string simctlBin();
std::string replayBin();
// The command line that starts a built program (emulator first where needed), with env ("NAME=value") set
// for it when one is given.
std::vector<std::string> programArgv(const std::string& bin, const std::vector<std::string>& args,
                                     const std::string& env = "");

// In a forked child: replaces it with the program (argv[0] is its path); ends it with 127 if that fails.
[[noreturn]] void execProgram(const std::vector<std::string>& argv);

struct RunResult {
  int exitCode = -1;  // -1: killed or did not end in time
  std::string out;    // standard output and standard error, in order
  bool timedOut = false;
};

// Runs a program to its end with the given standard input; kills it after timeoutMs.
RunResult runProgram(const std::vector<std::string>& argv, const std::string& input = "", int timeoutMs = 30000);
// One-shot run of diag-sim with the given arguments.
RunResult runSim(const std::vector<std::string>& args, const std::string& input = "", int timeoutMs = 30000);
// The same, which must exit 0 (a failing command does not end the shell with an error); what it printed.
std::string simOut(const std::vector<std::string>& args, const std::string& input = "");
