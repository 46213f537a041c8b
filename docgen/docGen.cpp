// diag-docgen OUTDIR: writes the manual pages of diag, diag-sim and diag-simctl
// and the shells' completion of command names, from the same command
// declarations and test registry the program prints its help from, so that
// the documentation cannot drift from the program. Run at build time.
#include <cstdio>
#include <fstream>
#include <string>

#include "cmdLineObjectMap.h"
#include "layers.h"
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

std::string commands() {
  std::string out = ".SH COMMANDS\nEvery command, by name, with its help line and its options.\n";
  for (const auto& [name, obj] : CmdLineObjectMap::getCmdLineMap()->map) {
    const CmdDecl& d = obj->decl;
    out += ".TP\n.B " + roff(name) + "\n" + roff(d.help) + "\n";
    if (!d.handler && name != "file") {
      out += ".br\nNot connected in this build: it says so when run.\n";
      continue;
    }
    std::string usage;
    for (const char* line : d.args.usage) usage += std::string(line) + "\n";
    if (!usage.empty()) out += verbatim(usage);
  }
  return out;
}

std::string selfTests() {
  std::string out = ".SH SELF-TESTS\nRun with \\fBruntest\\fR \\fIname\\fR; \\fBlisttests\\fR lists them.\n";
  for (const auto& [name, test] : TestMap::getTestMap()->map)
    out += ".TP\n.B " + roff(name) + "\n" + roff(test->helpString) + "\n";
  return out;
}

const char* const DIAG_TEXT =
    ".SH SYNOPSIS\n"
    ".B diag\n"
    ".br\n"
    ".B diag\n"
    "\\fIcommand\\fR [\\fIargument\\fR...]\n"
    ".br\n"
    ".B diag file\n"
    "\\fIscript\\fR\n"
    ".SH DESCRIPTION\n"
    "\\fBdiag\\fR is the board-level diagnostics shell of the instrument. It reaches the hardware only through the "
    "kernel: the I2C adapters with their multiplexers, the FPGA device /dev/z9fpga0, sysfs, named semaphores and the "
    "system log. Without arguments it shows the prompt \\fBdiag> \\fR; with arguments it runs them once as one "
    "command line; \\fBdiag file\\fR \\fIscript\\fR runs a script.\n"
    ".PP\n"
    "At the prompt, Tab completes a command name, ESC p and ESC n step through the last 20 lines, Backspace erases, "
    "and \\fBq\\fR leaves the shell (so does the end of the input).\n"
    ".PP\n"
    "A script holds one command line per line. A line that starts with a blank, a control character or # is not run; "
    "a line starting #! is printed; a line \\fBstop\\fR ends the script. A failing command does not stop a script.\n"
    ".PP\n"
    "Numbers are decimal, 0x hexadecimal or leading-zero octal. A word that is not a number in the option's range, "
    "and a line of more than 20 words, are refused with one line saying why, and nothing is done. Every command takes "
    "\\-h for its usage.\n";

const char* const DIAG_TAIL =
    ".SH FILES\n"
    ".TP\n/dev/i2c\\-2\nthe I2C adapter with the multiplexer trees\n"
    ".TP\n/dev/z9fpga0\nthe board FPGA\n"
    ".TP\n/vesta/diags/revision.txt\nthe installed diagnostics' revision, shown by \\fBversion\\fR\n"
    ".TP\n/vesta/diags/boardrev.txt\nthe board revision\n"
    ".SH SEE ALSO\n"
    ".BR diag\\-sim (1),\n"
    ".BR diag\\-simctl (1)\n";

const char* const SIM_TEXT =
    ".SH SYNOPSIS\n"
    ".B diag\\-sim\n"
    "[\\fIcommand\\fR [\\fIargument\\fR...]]\n"
    ".SH DESCRIPTION\n"
    "\\fBdiag\\-sim\\fR is \\fBdiag\\fR(1) on a simulated instrument: the same program, with the kernel's device "
    "files (the I2C adapters, the FPGA device, the sysfs entries and the revision files) answered by device models. "
    "It lets scripts be written and checked without hardware. Its commands are those of \\fBdiag\\fR(1).\n"
    ".PP\n"
    "The whole instrument lives in one state file shared by every diag\\-sim process; \\fBdiag\\-simctl\\fR(1) "
    "configures it, injects faults and shows its state.\n"
    ".SH ENVIRONMENT\n"
    ".TP\nDIAG_SIM_STATE\nthe state file (default /tmp/diag\\-sim\\-\\fIuid\\fR.state)\n"
    ".TP\nDIAG_SIM_TRACE\na file to which every kernel\\-level access is appended, decoded, one line each\n"
    ".SH SEE ALSO\n"
    ".BR diag (1),\n"
    ".BR diag\\-simctl (1),\n"
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

// Completion of the command word for one-shot use; "file" completes a script's name.
std::string completion(const char* program) {
  std::string names;
  for (const auto& [name, obj] : CmdLineObjectMap::getCmdLineMap()->map) names += (names.empty() ? "" : " ") + name;
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
  connectLayers();
  const std::string dir = argv[1];
  const std::string diagPage = header("diag", "board-level diagnostics shell of the instrument") + DIAG_TEXT +
                               commands() + selfTests() + DIAG_TAIL;
  bool ok = write(dir + "/diag.1", diagPage) &&
            write(dir + "/diag-sim.1", header("diag-sim", "the diagnostics shell on a simulated instrument") + SIM_TEXT) &&
            write(dir + "/diag-simctl.1", simctlPage()) && write(dir + "/diag.bash-completion", completion("diag")) &&
            write(dir + "/diag-sim.bash-completion", completion("diag-sim"));
  if (!ok) fprintf(stderr, "diag-docgen: cannot write into %s\n", dir.c_str());
  return ok ? 0 : 1;
}
