// The terminal after the shell: however the shell ends, and while it is
// stopped, the terminal's modes are those it had before the shell started.
#include <gtest/gtest.h>

#include <pty.h>
#include <signal.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "programs.h"
#include "ptySession.h"
#include "testEnv.h"
#include "textUtil.h"

namespace {
// The pty's own modes with a minimum read count of 4: canonical mode ignores
// it, and the key wait sets it to 1, so only a shell that gives back exactly
// what it found leaves it at 4.
termios startModes() {
  int m, s;
  termios t = {};
  if (openpty(&m, &s, nullptr, nullptr, nullptr) == 0) {
    tcgetattr(s, &t);
    close(m);
    close(s);
  }
  t.c_cc[VMIN] = 4;
  return t;
}

std::string text(const termios& t) {
  std::string out = formatted("iflag %x oflag %x cflag %x lflag %x cc", t.c_iflag, t.c_oflag, t.c_cflag, t.c_lflag);
  for (cc_t c : t.c_cc) out += " " + std::to_string(c);
  return out;
}

struct WayOut {
  const char* name;
  const char* command;  // typed at the prompt first, "" for none
  const char* running;  // what the command prints once it runs
  bool keyWait;         // the shell then reads keys outside canonical mode
  std::function<void(PtySession&)> end;
  int exitCode;  // -1 when a signal ends the shell
  int signal;
};

// At the prompt, then Ctrl-Z: true once the job shell says the shell stopped.
bool stoppedAtPrompt(PtySession& sh) {
  return sh.waitFor("diag> ") && sh.waitCanonical(false) && (sh.send("\x1a"), sh.waitJob("stopped"));
}
void sig(PtySession& s, int n) { kill(s.programPid(), n); }
}  // namespace

TEST(Terminal, GivenBackAsFoundHoweverTheShellEnds) {
  // Keys that end a command or drop a line; the shell then goes on until q.
  auto keysThenQ = [](const char* keys) {
    return [keys](PtySession& s) {
      s.mark();
      s.send(keys);
      s.waitFor("diag> ");
      s.type("q\r");
    };
  };
  auto interruptThenQ = keysThenQ("\x03");
  // gpmc -rc on ibuf, the largest window, reads for a good part of a second before it passes the end; reg's ends in ms.
  const std::string rcThenUtp = "file " + testPath("rc-utp.txt");
  writeFile(testPath("rc-utp.txt"), "gpmc -m ibuf -rc -s\nutp -m Press\n");
  const WayOut ways[] = {
      {"q, blanks after it", "", "", true, [](PtySession& s) { s.type("q  \r"); }, 0, 0},
      {"Ctrl-D", "", "", true, [](PtySession& s) { s.send("\x04"); }, 0, 0},
      {"Ctrl-C at the prompt, then q", "", "", true, interruptThenQ, 0, 0},
      {"Ctrl-\\ at the prompt", "", "", true, [](PtySession& s) { s.send("\x1c"); }, -1, SIGQUIT},
      {"terminate at the prompt", "", "", true, [](PtySession& s) { sig(s, SIGTERM); }, -1, SIGTERM},
      {"hang-up at the prompt", "", "", true, [](PtySession& s) { sig(s, SIGHUP); }, -1, SIGHUP},
      {"abort (a fatal fault)", "", "", true, [](PtySession& s) { sig(s, SIGABRT); }, -1, SIGABRT},
      {"terminate in gpmc -rc", "gpmc -m ibuf -rc -s", "reading ibuf (type q", true,
       [](PtySession& s) { sig(s, SIGTERM); }, -1, SIGTERM},
      {"Ctrl-C in gpmc -rc, then q", "gpmc -m ibuf -rc -s", "reading ibuf (type q", true, interruptThenQ, 0, 0},
      {"x and q in gpmc -rc, then q", "gpmc -m ibuf -rc -s", "reading ibuf (type q", true, keysThenQ("xq"), 0, 0},
      {"q in a script's gpmc -rc, then its utp", rcThenUtp.c_str(), "reading ibuf (type q", true, [&](PtySession& s) {
         s.mark();
         s.send("q");
         EXPECT_TRUE(s.waitFor("Press") && s.waitCanonical(true));  // lines are the terminal's to edit again
         keysThenQ("ok\r")(s);
       }, 0, 0},
      {"Ctrl-C in utp, then q", "utp -m Press", "\nPress", false, interruptThenQ, 0, 0},  // not the echo of the line
      {"Ctrl-C in runtest -l 0, then q", "runtest gpmcreg -l 0", "<CR> to quit", false, interruptThenQ, 0, 0},
  };
  const termios before = startModes();
  for (const WayOut& w : ways) {
    SCOPED_TRACE(w.name);
    PtySession sh(programArgv(diagSimBin(), {}), {&before});
    ASSERT_TRUE(sh.waitFor("diag> "));
    if (*w.command) {
      sh.type(w.command);
      sh.send(PtySession::ENTER);
      ASSERT_TRUE(sh.waitFor(w.running)) << sh.since();
    }
    if (w.keyWait) {
      ASSERT_TRUE(sh.waitCanonical(false));
    } else if (*w.command) {
      ASSERT_TRUE(sh.waitCanonical(true));  // a command that reads lines has them edited by the terminal
    }
    w.end(sh);
    EXPECT_EQ(sh.waitExit(), w.exitCode) << sh.since();
    EXPECT_EQ(sh.endSignal(), w.signal);
    EXPECT_EQ(text(sh.modes()), text(before));
  }
}

// Ctrl-Z gives the terminal back while the shell is stopped; continued, the
// shell takes up its key wait again, and Tab completes at once.
TEST(Terminal, GivenBackWhileStoppedAndTakenUpOnContinue) {
  const termios before = startModes();
  PtySession sh(programArgv(diagSimBin(), {}), {&before, true});
  ASSERT_TRUE(stoppedAtPrompt(sh));
  EXPECT_EQ(text(sh.modes()), text(before));

  kill(sh.programPid(), SIGCONT);
  ASSERT_TRUE(sh.waitJob("continued"));
  EXPECT_TRUE(sh.waitCanonical(false));
  sh.mark();
  sh.type("he\t");
  EXPECT_TRUE(sh.waitFor("diag> help")) << sh.since();
  sh.send(PtySession::ENTER);
  EXPECT_TRUE(sh.waitFor("xth - external temp/humid ADC utility"));
  sh.type("q\r");
  EXPECT_EQ(sh.waitExit(), 0);
  EXPECT_EQ(text(sh.modes()), text(before));
}

// Continued in the background, the shell leaves the terminal alone; brought to the foreground, it takes up its
// modes again. Ended while it is stopped in the background, it leaves the terminal to the foreground job: touching
// it from there would stop the shell again, for good.
TEST(Terminal, InTheBackgroundItLeavesTheTerminalAloneAndInTheForegroundTakesItUp) {
  const termios before = startModes();
  PtySession sh(programArgv(diagSimBin(), {}), {&before, true, true});
  ASSERT_TRUE(stoppedAtPrompt(sh));
  kill(sh.programPid(), SIGCONT);
  ASSERT_TRUE(sh.waitJob("continued"));
  EXPECT_EQ(text(sh.modes()), text(before));
  sh.foreground();
  ASSERT_TRUE(stoppedAtPrompt(sh));  // its modes taken up again
  kill(sh.programPid(), SIGTERM);
  kill(sh.programPid(), SIGCONT);
  EXPECT_EQ(sh.waitExit(), -1);
  EXPECT_EQ(sh.endSignal(), SIGTERM) << sh.since();
}

// Started with Ctrl-Z ignored (a runner without job control), the shell keeps it so and goes on at once.
TEST(Terminal, StartedWithCtrlZIgnoredItIsNotStopped) {
  const termios before = startModes();
  std::vector<std::string> argv = programArgv(diagSimBin(), {});
  argv.insert(argv.begin(), {"/bin/sh", "-c", "trap '' TSTP; exec \"$@\"", "sh"});
  PtySession sh(argv, {&before, true});
  ASSERT_TRUE(sh.waitFor("diag> "));
  sh.send("\x1a");
  sh.type("q\r");
  EXPECT_EQ(sh.waitExit(), 0);
}

// Waiting at the prompt, the shell blocks until a key arrives instead of
// waking to look for one. The half second here is a window of idleness, not a
// wait for output: a shell that polls for keys gives up the processor
// thousands of times in it; one blocked on the terminal at most once, as it
// enters the wait.
TEST(Terminal, IdlePromptSleepsUntilAKey) {
  PtySession sh(programArgv(diagSimBin(), {}));
  ASSERT_TRUE(sh.waitFor("diag> "));
  ASSERT_TRUE(sh.waitCanonical(false));
  const long before = procStatus(sh.programPid(), "voluntary_ctxt_switches");
  if (before < 0) GTEST_SKIP() << "/proc gives no context switch counts here";
  usleep(500000);
  EXPECT_LE(procStatus(sh.programPid(), "voluntary_ctxt_switches") - before, 1);
  sh.mark();
  sh.type("he\t");
  EXPECT_TRUE(sh.waitFor("diag> help")) << sh.since();
}
