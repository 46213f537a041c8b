// The shell as an operator meets it: one-shot runs, scripts and the
// interactive prompt in a real pseudo-terminal.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "cmdRun.h"
#include "processEnd.h"
#include "programs.h"
#include "ptySession.h"
#include "semIsolation.h"
#include "testEnv.h"
#include "textUtil.h"

namespace {
struct Shell : PtySession {
  Shell() : PtySession(programArgv(diagSimBin(), {})) { EXPECT_TRUE(waitFor("diag> ")); }
  // Types a line and waits for the next prompt; returns what the command printed.
  std::string line(const std::string& text) {
    mark();
    type(text);
    send(ENTER);
    EXPECT_TRUE(waitFor("diag> ")) << since();
    return since();
  }
};
}  // namespace

// One command line from the arguments, whatever they hold: more words or
// characters than a line takes, a format, an unbalanced quote (its words then
// one unknown command).
TEST(OneShot, RunsOneCommandLineAndHandlesHostileArguments) {
  // The production program behaves as the simulated one where no hardware is involved.
  EXPECT_EQ(runProgram(programArgv(diagBin(), {"ec", "-cd", "Scan"})).out, "!1729\n");
  std::vector<std::string> words(40, "w");
  words[0] = "ec";
  EXPECT_EQ(runSim(words).exitCode, 0);
  EXPECT_EQ(runSim({std::string(300, 'x')}).out,
            "the line is 309 characters long: at most 199 are taken; nothing was run\n");
  EXPECT_EQ(runSim({"ec", "-cd", "%s%n%d%%"}).out, "");
  EXPECT_EQ(runSim({"file", "-h"}).out, "file <filename> - execute diag script file\n");
  EXPECT_EQ(runSim({"\"unbalanced", "quote"}).out, "command not found\r\n");
}

TEST(Scripts, RunLikeTheOperatorTypedThemUntilStop) {
  writeFile(testPath("s1.txt"),
            "#!banner %s\n# note\n\n ec -cd Scan\n~nosuch\n!x\nec -cd SD\r\nfile other\nq\nstop\nversion\n");
  const std::string expect =
      "#!banner %s\ncommand not found\r\ncommand not found\r\n!1723\nfile - command not connected to a function\n"
      "command not found\r\nfound stop - stopping\n";
  EXPECT_EQ(runSim({"file", testPath("s1.txt")}).out, expect);
  // One-shot mode drops white space from the name; the interactive shell does not.
  std::string spaced = testPath("s1.txt");
  spaced.insert(spaced.size() - 4, " ");
  EXPECT_EQ(runSim({"file", "\"" + spaced + "\""}).out, expect);

  EXPECT_TRUE(contains(runSim({"file", testPath("missing")}).out,
                       "function runScriptFile - unable to open file " + testPath("missing")));

  // At the prompt a script's file, a file xml looked at and an image file eeprom read are closed: a day of them
  // does not run out of descriptors.
  writeFile(testPath("s2.txt"), "ec -cd SD\n");
  const std::string count = "system ls /proc/$PPID/fd | wc -l\n";
  std::string lines = "eeprom -load bpEeprom -f " + testPath("s2.txt") + "\n" + count;  // the simulator's files opened first
  for (const char* c : {"file ", "file ", "xml -f ", "eeprom -load bpEeprom -f "}) lines += c + testPath("s2.txt") + "\n";
  std::vector<std::string> n = splitLines(runSim({}, lines + count + "q\n").out);
  // file alone names no script (not the last one); a line of too many words, or one that starts with a blank, is not run.
  std::string out = runSim({}, "file " + testPath("s2.txt") + "\nfile\nec -cd SD 1 2 3 4 5 6 7 8 9 a b c d e f g h i\n ec -cd SD\n").out;
  EXPECT_TRUE(contains(out, "runScriptFile - unable to open file \ndiag> too many words in the line, 21: at most 20 are taken; "
                            "nothing was run\ndiag> diag> \n")) << out;
  std::vector<std::string> counts;
  for (std::string l : n) {
    if (l.rfind("diag> ", 0) == 0) l.erase(0, 6);  // the prompt before the command's output
    if (!l.empty() && l.find_first_not_of("0123456789 ") == std::string::npos) counts.push_back(l);
  }
  ASSERT_EQ(counts.size(), 2u);
  EXPECT_EQ(counts[0], counts[1]);
}

// The keys of the prompt's line editor are typed in lineEditorTest.cpp; Tab
// completion and the ways out (q, with blanks after it too) in terminalE2e.cpp.
// Ctrl-C stops the running command (an endless self-test here, which ends
// its loop and gives its verdict) and the prompt comes back; at the prompt it
// drops the line typed so far. Up brings back the last line; Ctrl-D ends the
// shell.
TEST(Interactive, CtrlCStopsTheCommandNotTheShell) {
  Shell sh;
  sh.type("runtest gpmcreg -l 0\r");
  ASSERT_TRUE(sh.waitFor("<CR> to quit"));
  sh.mark();
  sh.send("\x03");
  EXPECT_TRUE(sh.waitFor("PASSED\r\n\r\ninterrupted\r\ndiag> ")) << sh.since();
  sh.mark();
  sh.type("runtest gpmcreg");
  sh.send("\x03");
  EXPECT_TRUE(sh.waitFor("diag> "));
  EXPECT_TRUE(contains(sh.line("ec -cd Scan"), "!1729"));
  sh.mark();
  sh.type("\x1b[A");  // the line wiped and drawn again with the last one, the cursor at its end
  const std::string recalled = "\x1b[2K\rdiag> ec -cd Scan";
  EXPECT_TRUE(sh.waitFor(recalled) && sh.since().ends_with(recalled)) << sh.since();
  sh.mark();
  sh.send(PtySession::ENTER);
  EXPECT_TRUE(sh.waitFor("!1729\r\ndiag> "));
  // Typed ahead while a command runs, the terminal would still be in canonical mode and take Ctrl-D itself.
  EXPECT_TRUE(sh.waitCanonical(false));
  sh.send("\x04");
  EXPECT_EQ(sh.waitExit(), 0);
}

// While the shell catches interrupts, the first is noted for the running
// command and a second one before the shell took the first ends the process,
// for a command that does not look.
TEST(Interactive, SecondInterruptEndsTheShell) {
  EXPECT_EXIT(
      {
        catchInterrupts(true);
        raise(SIGINT);
        if (!takeInterrupt() || interrupted()) _exit(3);
        raise(SIGINT);
        raise(SIGINT);
        _exit(0);
      },
      testing::KilledBySignal(SIGINT), "");
}

// A directory cannot be run and the message says why; a banner longer than one
// log call is echoed whole; a line longer than a script line can be is cut with
// a message naming it, the script goes on, and the shell's memory does not grow
// with the line (an endless line, as /dev/zero holds, once took it all).
TEST(Scripts, BadFilesGetAClearMessageInBoundedMemory) {
  RunResult r = runSim({"--exit-status", "file", testDir()});
  EXPECT_TRUE(contains(r.out, "unable to read file " + testDir() + ", so it cannot be run\nIs a directory (21)\n")) << r.out;
  EXPECT_NE(r.exitCode, 0);

  const std::string banner = "#!" + std::string(600, '=') + " 100% %s";
  writeFile(testPath("banner.txt"), banner + "\nec -cd Scan\n");
  EXPECT_EQ(runSim({"file", testPath("banner.txt")}).out, banner + "\n!1729\n");
  // Lines of the longest length kept, ended by a line end or by the file's end, are whole.
  const std::string longest = "#!" + std::string(4094, 'z');
  writeFile(testPath("longest.txt"), longest + "\nec -cd Scan\n" + longest);
  EXPECT_EQ(runSim({"file", testPath("longest.txt")}).out, longest + "\n!1729\n" + longest + "\n");

  // From the prompt, stop ends the script and not the shell; empty and blank lines just bring a new prompt.
  writeFile(testPath("short.txt"), "# short\n#!y\nec -cd Time\nstop\nec -cd SD\n");
  writeFile(testPath("long.txt"), "# short\n#!" + std::string(24 << 20, 'y') + "\nec -cd Scan\n");
  Shell sh;
  EXPECT_TRUE(contains(sh.line("file " + testPath("short.txt")), "#!y\r\n!172A\r\nfound stop - stopping\r\ndiag> "));
  sh.line("");
  sh.line("   ");
  const long before = procStatus(sh.programPid(), "VmHWM");
  std::string out = sh.line("file " + testPath("long.txt"));
  // The rest of the cut line is skipped, not run: the next thing printed is the next line's.
  EXPECT_TRUE(contains(out, "line 2 of file " + testPath("long.txt") +
      " is longer than 4096 characters: cut there, the rest of it skipped\r\n")) << out.substr(0, 300);
  EXPECT_NE(out.find("\r\n#!" + std::string(4094, 'y') + "\r\n!1729\r\n"), std::string::npos);
  EXPECT_LT(procStatus(sh.programPid(), "VmHWM") - before, 8 * 1024);

  // An endless line is named at once; the shell reads on until interrupted.
  PtySession zero(programArgv(diagSimBin(), {"file", "/dev/zero"}));
  EXPECT_TRUE(zero.waitFor("line 1 of file /dev/zero is longer than 4096 characters")) << zero.since();
  zero.send("\x03");
  zero.waitExit();
  EXPECT_EQ(zero.endSignal(), SIGINT);
}

TEST(Interactive, EndOfInputEndsTheShell) {
  RunResult r = runSim({}, "file -h\nec -cd Scan");  // the last line is run without its line end
  EXPECT_TRUE(r.exitCode == 0 && !r.timedOut && contains(r.out, "!1729")) << r.out;
  EXPECT_TRUE(contains(r.out, "diag> file <filename> - execute diag script file\ndiag> ")) << r.out;
  r = runSim({}, "");
  EXPECT_TRUE(r.exitCode == 0 && r.out == "diag> \n") << r.out;
  int dir = open("/", O_RDONLY | O_DIRECTORY);  // input that cannot be read ends the shell as well
  Child c = spawn(programArgv(diagSimBin(), {}), dir);
  close(dir);
  EXPECT_EQ(waitChild(c.pid, 10000), 0);
  close(c.out);
}

TEST(UtilityCommands, DelaySystemBackgroundAndPause) {
  EXPECT_EQ(runSim({"--exit-status", "system", "echo", "hi%s", ">", testPath("sys.out")}).exitCode, 0);
  EXPECT_EQ(readFile(testPath("sys.out")), "hi%s\n");
  // Twenty words (the command word included) are refused; from the program's own
  // arguments at most nineteen reach a command, so this needs a script.
  std::string many = "system touch " + testPath("never");
  for (int i = 3; i < 20; ++i) many += " x";
  writeFile(testPath("many.txt"), many + "\n");
  runSim({"file", testPath("many.txt")});
  EXPECT_FALSE(std::ifstream(testPath("never")).good());

  // bg returns at once and the job finishes on its own; its words go to the system shell as they were typed,
  // a "-h" after the command word included.
  EXPECT_EQ(runSim({"bg", "echo", "50%%", "%s", "-h", ">", testPath("bg.out")}).out, "");
  for (int i = 0; i < 100 && readFile(testPath("bg.out")).empty(); ++i) usleep(50000);
  EXPECT_EQ(readFile(testPath("bg.out")), "50%% %s -h\n");

  EXPECT_EQ(runSim({"delay", "-s", "0", "-m", "0", "-m", "0x10", "-s"}).out, "");  // 0 is a delay too

  RunResult r = runSim({"utp", "-m", "Press", "Enter", "-f", testPath("utp.out")}, "done 100%% %d\n");
  EXPECT_EQ(r.out, "Press Enter ");
  EXPECT_EQ(readFile(testPath("utp.out")), "done 100%% %d\n");  // the answer as typed
  for (const auto& words : {std::vector<std::string>{"utp"}, {"utp", "-m"}})  // -m without a word is passed over
    EXPECT_EQ(runSim(words, "ok%%\n").out, "...ok%%\n");
  EXPECT_EQ(runSim({"utp"}, std::string(250, 'a') + "\n").out, "..." + std::string(199, 'a'));  // what the answer holds
  // An answer that cannot be kept is not asked for; one that was not stored is said so.
  r = runSim({"utp", "-m", "Press", "Enter", "-f", testPath("no/such/folder")}, "done\n");
  EXPECT_EQ(r.out.substr(r.out.find(" - ")), " - unable to open file " + testPath("no/such/folder") +
                                                  ": No such file or directory (2)\n");
  r = runSim({"utp", "-m", "Press", "Enter", "-f", "/dev/full"}, "done\n");
  EXPECT_TRUE(r.out.ends_with(" - unable to write file /dev/full: No space left on device (28)\n")) << r.out;

  // A background command longer than its text can hold is refused, not cut.
  char argv[3][ARG_LEN] = {"bg", "touch"};
  snprintf(argv[2], ARG_LEN, "%s", (testPath("bg") + std::string(190, 'x')).c_str());
  CmdResult r2 = runRows(3, argv);
  EXPECT_EQ(r2.status, INVALID_STRING);
  const std::string& said = r2.out;
  EXPECT_TRUE(said.starts_with("the background command is ")) << said;
  EXPECT_TRUE(said.ends_with(" characters long: at most 198 are taken; nothing was run\n")) << said;
}

TEST(LogCommand, CategoriesAndArgumentChecks) {
  RunResult r = runSim({"log"});
  EXPECT_NE(r.out.find("function cmdLog - wrong number of arguments, 0, should be 1 or 2"), std::string::npos);
  r = runSim({"log", "on"});
  EXPECT_NE(r.out.find("category= 0, on= 1"), std::string::npos);
  EXPECT_NE(r.out.find("function cmdLog - bad parameter"), std::string::npos);
  r = runSim({"log", "psc", "on"});
  EXPECT_NE(r.out.find("category= 2, on= 1"), std::string::npos);
  EXPECT_NE(r.out.find("function cmdLog - exit"), std::string::npos);
  EXPECT_EQ(runSim({"--exit-status", "log", "all", "on"}).exitCode, 0);
}
