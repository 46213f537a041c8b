// diag-docgen OUTDIR: writes the manual pages of diag, diag-sim, diag-simctl and diag-replay
// and the shells' completion of command names, from the same command
// declarations and test registry the program prints its help from, so that
// the documentation cannot drift from the program. Run at build time.
#include <cstdio>
#include <fstream>
#include <string>

#include "cmdLineObjectMap.h"
#include "board.h"
#include "simCtl.h"
#include "testMap.h"

namespace {
const char* const DATE = "2026";  // the manual pages' date line: the year of the version

// Text as troff shows it: backslashes and minus signs escaped, no line starting with a control character.
std::string roff(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == '\\')
      out += "\\e";
    else if (c == '-')
      out += "\\-";
    else
      out += c;
  }
  if (!out.empty() && (out[0] == '.' || out[0] == '\'')) out = "\\&" + out;
  return out;
}

std::string verbatim(const std::string& lines) {
  std::string out = ".nf\n";
  size_t start = 0;
  for (size_t nl; (nl = lines.find('\n', start)) != std::string::npos; start = nl + 1)
    out += roff(lines.substr(start, nl - start)) + "\n";
  return out + ".fi\n";
}

std::string header(const char* name, const char* what) {
  return std::string(".TH ") + roff(name) + " 1 \"" + DATE + "\" \"diag " DIAG_VERSION "\" \"Instrument diagnostics\"\n" +
         ".SH NAME\n" + roff(name) + " \\- " + roff(what) + "\n";
}

std::string commands(const CmdLineObjectMap& cmds) {
  std::string out = ".SH COMMANDS\nEvery command, by name, with its help line and its options.\n";
  for (const auto& [name, obj] : cmds.map) {
    const CmdDecl& d = obj.decl;
    out += ".TP\n.B " + roff(name) + "\n" + roff(d.help) + "\n";
    if (!d.handler && name != "file") {
      out += ".br\nNot connected in this build: it says so when run.\n";
      continue;
    }
    const std::string usage = usageText(d.args);
    if (!usage.empty()) out += verbatim(usage);
  }
  return out;
}

std::string selfTests(const TestMap& tests) {
  std::string out = ".SH SELF-TESTS\nRun with \\fBruntest\\fR \\fIname\\fR; \\fBlisttests\\fR lists them.\n";
  for (const auto& [name, test] : tests.map)
    out += ".TP\n.B " + roff(name) + "\n" + roff(test->helpString) + "\n";
  return out;
}

const char* const DIAG_TEXT =
    ".SH SYNOPSIS\n"
    ".B diag\n"
    ".br\n"
    ".B diag\n"
    "[\\fB\\-\\-exit\\-status\\fR] \\fIcommand\\fR [\\fIargument\\fR...]\n"
    ".br\n"
    ".B diag\n"
    "[\\fB\\-\\-exit\\-status\\fR] \\fBfile\\fR \\fIscript\\fR\n"
    ".br\n"
    ".B diag\n"
    "\\fB\\-\\-help\\fR | \\fB\\-\\-version\\fR\n"
    ".SH DESCRIPTION\n"
    "\\fBdiag\\fR is the board-level diagnostics shell of the instrument. It reaches the hardware only through the "
    "kernel: the I2C adapters with their multiplexers, the FPGA device /dev/z9fpga0, sysfs, named semaphores and the "
    "system log. Without arguments it shows the prompt \\fBdiag> \\fR; with arguments it runs them once as one "
    "command line; \\fBdiag file\\fR \\fIscript\\fR runs a script.\n"
    ".PP\n"
    "At the prompt, Tab completes a command name; ESC p and ESC n, or Up and Down, step through the last 20 lines; "
    "Left, Right, Home and End move the cursor; Backspace and Delete erase. A line holds at most 199 characters: a "
    "further one rings the bell. Ctrl\\-C stops the running command (a second one ends the shell); "
    "\\fBq\\fR, Ctrl\\-D on an empty line or the end of the input leave the shell.\n"
    ".PP\n"
    "A script holds one command line per line. A line that starts with a blank, a control character or # is not run; "
    "a line starting #! is printed; a line \\fBstop\\fR ends the script. A failing command does not stop a script.\n"
    ".PP\n"
    "Numbers are decimal, 0x hexadecimal or leading-zero octal. A word that is not a number in the option's range, "
    "and a line of more than 20 words or 199 characters (in one-shot mode the program's name is its first word), are "
    "refused with one line saying why, and nothing is done. Every command takes \\-h for its usage.\n"
    ".SH OPTIONS\n"
    "Options come before the command words; a word beginning with \\-\\- is never a command.\n"
    ".TP\n\\fB\\-\\-exit\\-status\\fR\nexit with the status of the command (see EXIT STATUS)\n"
    ".TP\n\\fB\\-\\-help\\fR\na short usage of the program\n"
    ".TP\n\\fB\\-\\-version\\fR\nthe version of the program\n";

const char* const DIAG_TAIL =
    ".SH EXIT STATUS\n"
    "0, whatever happened, unless asked for with \\fB\\-\\-exit\\-status\\fR or DIAG_EXIT_STATUS=1 in a one-shot "
    "run: then 0 when the command succeeded (a self-test PASSED), 1 when it failed (FAILED, a device that did not "
    "answer, a file that could not be written), 2 for an unknown command, one not in this build (a self-test it "
    "cannot run, or one that gives no verdict), or a line or word refused. A script's status is the worst of its lines'; a script that cannot be read gives 1. "
    "\\fB\\-\\-help\\fR and \\fB\\-\\-version\\fR exit 0; an unknown option exits 2.\n"
    ".SH ENVIRONMENT\n"
    ".TP\nDIAG_EXIT_STATUS\n1: as \\fB\\-\\-exit\\-status\\fR\n"
    ".TP\nDIAG_RECORD\na file to which every request to the kernel and its answer are written, one line each, "
    "for \\fBdiag\\-replay\\fR(1) to replay on the desk; a process started by a recorded one writes "
    "\\fIfile\\fR.\\fIpid\\fR. The file holds what the chips gave, identification memories (serial numbers) "
    "included. Off by default\n"
    ".SH FILES\n"
    ".TP\n/dev/i2c\\-2\nthe I2C adapter with the multiplexer trees\n"
    ".TP\n/dev/z9fpga0\nthe board FPGA\n"
    ".TP\n/dev/shm/sem.diagSem, /dev/shm/sem.diagGPMCSem\nthe named semaphores that several diag processes share, "
    "with their lock files diagSem.lock and diagGPMCSem.lock beside them\n"
    ".TP\n/vesta/diags/revision.txt\nthe installed diagnostics' revision, shown by \\fBversion\\fR\n"
    ".TP\n/vesta/diags/boardrev.txt\nthe board revision\n"
    ".SH EXAMPLES\n"
    ".nf\n"
    "diag fan \\-ds                        the six fan speeds\n"
    "diag \\-\\-exit\\-status runtest gpmcreg   PASSED or FAILED, and the exit status 0 or 1\n"
    "diag file production.txt              a script; a sample is in /usr/share/doc/diag/examples\n"
    "diag \\-\\-exit\\-status file production.txt || echo failed\n"
    ".fi\n"
    ".SH SEE ALSO\n"
    ".BR diag\\-sim (1),\n"
    ".BR diag\\-simctl (1),\n"
    ".BR diag\\-replay (1)\n";

const char* const SIM_TEXT =
    ".SH SYNOPSIS\n"
    ".B diag\\-sim\n"
    "[\\fB\\-\\-exit\\-status\\fR] [\\fIcommand\\fR [\\fIargument\\fR...]]\n"
    ".SH DESCRIPTION\n"
    "\\fBdiag\\-sim\\fR is \\fBdiag\\fR(1) on a simulated instrument: the same program, with the kernel's device "
    "files (the I2C adapters, the FPGA device, the sysfs entries and the revision files) answered by device models. "
    "It lets scripts be written and checked without hardware. Its commands are those of \\fBdiag\\fR(1).\n"
    ".PP\n"
    "The whole instrument lives in one state file shared by every diag\\-sim process; \\fBdiag\\-simctl\\fR(1) "
    "configures it, injects faults and shows its state.\n"
    ".SH ENVIRONMENT\n"
    ".TP\nDIAG_EXIT_STATUS\n1: as \\fB\\-\\-exit\\-status\\fR (see \\fBdiag\\fR(1))\n"
    ".TP\nDIAG_SIM_STATE\nthe state file (default /tmp/diag\\-sim\\-\\fIuid\\fR.state): a regular file of the "
    "user's, never reached through a symbolic link\n"
    ".TP\nDIAG_SIM_TRACE\na file to which every kernel\\-level access is appended, decoded, one line each\n"
    ".TP\nDIAG_RECORD\na file to which every request to the kernel and its answer are written, one line each, "
    "for \\fBdiag\\-replay\\fR(1) to replay on the desk; a process started by a recorded one writes "
    "\\fIfile\\fR.\\fIpid\\fR. The file holds what the chips gave, identification memories (serial numbers) "
    "included. Off by default\n"
    ".SH SEE ALSO\n"
    ".BR diag (1),\n"
    ".BR diag\\-simctl (1),\n"
    ".BR diag\\-replay (1),\n"
    "/usr/share/doc/diag\\-sim/\n";

std::string simctlPage() {
  std::string usage;
  sim::simCtl({"help"}, usage);
  return header("diag-simctl", "configure the simulated instrument and inject faults") +
         ".SH SYNOPSIS\n.B diag\\-simctl\n\\fIcommand\\fR [\\fIargument\\fR...]\n" +
         ".SH DESCRIPTION\nConfigures the simulated instrument of \\fBdiag\\-sim\\fR(1), injects faults into its "
         "devices and shows their state. The state file is named by DIAG_SIM_STATE, as for diag\\-sim.\n" +
         ".SH COMMANDS\n" + verbatim(usage) + ".SH SEE ALSO\n.BR diag\\-sim (1)\n";
}

const char* const REPLAY_TEXT =
    ".SH SYNOPSIS\n"
    ".B diag\\-replay\n"
    "[\\fB\\-\\-real\\-time\\fR] \\fIfile\\fR\n"
    ".SH DESCRIPTION\n"
    "\\fBdiag\\-replay\\fR runs the command line recorded in \\fIfile\\fR by \\fBdiag\\fR(1) or "
    "\\fBdiag\\-sim\\fR(1) (DIAG_RECORD=\\fIfile\\fR) as the program that recorded it, with every request to "
    "the kernel answered from the recording instead of the hardware: it prints what the recorded run printed and "
    "ends with its exit status, on any machine, under a debugger if need be. Pauses take no time; the clock reads "
    "give the recorded times, shown in the recorded zone. Standard input is this process's own.\n"
    ".PP\n"
    "Each request must be the one the recording holds next. The first that differs (another file, another address, "
    "other bytes written, one more or one less than recorded) stops the replay with one line: "
    "\\fBdiag\\-replay: request\\fR \\fIn\\fR \\fBdiffers: recorded\\fR \\fI\"what\"\\fR\\fB, asked\\fR "
    "\\fI\"what\"\\fR.\n"
    ".SH OPTIONS\n"
    ".TP\n\\fB\\-\\-real\\-time\\fR\npause as long as the recorded run paused\n"
    ".TP\n\\fB\\-\\-help\\fR\na short usage\n"
    ".SH EXIT STATUS\n"
    "The recorded program's own; 3 when a request differed from the recording; 4 when \\fIfile\\fR is not a "
    "recording; 2 for a wrong option.\n"
    ".SH SEE ALSO\n"
    ".BR diag (1),\n"
    ".BR diag\\-sim (1),\n"
    ".BR diag\\-simctl (1)\\ (\\fBload\\-recording\\fR),\n"
    "/usr/share/doc/diag\\-sim/record\\-replay.md\n";

// Completion of the command word for one-shot use; "file" completes a script's name.
std::string completion(const char* program, const CmdLineObjectMap& cmds) {
  std::string names;
  for (const auto& [name, obj] : cmds.map) names += (names.empty() ? "" : " ") + name;
  std::string fn = std::string("_") + program;
  for (char& c : fn)
    if (c == '-') c = '_';
  return "# bash completion of " + std::string(program) + "'s command names (generated from its commands)\n" + fn +
         "() {\n"
         "  local cur=${COMP_WORDS[COMP_CWORD]}\n"
         "  if [ \"$COMP_CWORD\" -eq 1 ]; then\n"
         "    COMPREPLY=($(compgen -W \"" + names + "\" -- \"$cur\"))\n"
         "  elif [ \"$COMP_CWORD\" -eq 2 ] && [ \"${COMP_WORDS[1]}\" = file ]; then\n"
         "    COMPREPLY=($(compgen -f -- \"$cur\"))\n"
         "  fi\n"
         "}\n"
         "complete -F " + fn + " " + program + "\n";
}

bool write(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary);
  out << text;
  return static_cast<bool>(out);
}
}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: diag-docgen OUTDIR\n");
    return 2;
  }
  // The board's registries, as the program builds them; nothing is opened.
  Board board([](const std::string&) {});
  const std::string dir = argv[1];
  const std::string diagPage = header("diag", "board-level diagnostics shell of the instrument") + DIAG_TEXT +
                               commands(board.commands) + selfTests(board.tests()) + DIAG_TAIL;
  bool ok = write(dir + "/diag.1", diagPage) &&
            write(dir + "/diag-sim.1", header("diag-sim", "the diagnostics shell on a simulated instrument") + SIM_TEXT) &&
            write(dir + "/diag-simctl.1", simctlPage()) &&
            write(dir + "/diag-replay.1", header("diag-replay", "replay a recording of diag on the desk") + REPLAY_TEXT) &&
            write(dir + "/diag.bash-completion", completion("diag", board.commands)) &&
            write(dir + "/diag-sim.bash-completion", completion("diag-sim", board.commands));
  if (!ok) fprintf(stderr, "diag-docgen: cannot write into %s\n", dir.c_str());
  return ok ? 0 : 1;
}
