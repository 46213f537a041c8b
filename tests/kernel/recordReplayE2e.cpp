// Recording at the kernel door and replaying on the desk: the command lines of
// the end-to-end tests, recorded on the simulated instrument, replay to the same
// output and status; the recording holds the words of the simulator's trace; a
// request that differs stops the replay at its number; a recording that cannot
// be written costs the run one line; the simulator takes a recording's state.
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include "programs.h"
#include "testEnv.h"
#include "textUtil.h"

namespace {
RunResult recorded(const std::string& rec, const std::vector<std::string>& args, const std::string& input = "") {
  EnvSet on("DIAG_RECORD", rec);
  return runSim(args, input);
}

RunResult replayed(const std::vector<std::string>& args, const std::string& input = "") {
  return runProgram(programArgv(replayBin(), args), input);
}

// The requests of a recording in the simulator's trace words: without their
// numbers and times, and without the lines a trace has no part in (pauses,
// clock reads, the semaphores).
std::vector<std::string> traceWords(const std::string& rec) {
  std::vector<std::string> out;
  for (const std::string& l : splitLines(readFile(rec))) {
    if (l.empty() || l[0] < '0' || l[0] > '9') continue;
    std::string words = l.substr(l.find(' ', l.find(' ') + 1) + 1);
    if (words.rfind("sleep ", 0) != 0 && words.rfind("clock ", 0) != 0 && words.rfind("lock ", 0) != 0)
      out.push_back(words);
  }
  return out;
}

// The number of the first request whose line holds piece.
std::string numberOf(const std::string& rec, const std::string& piece) {
  for (const std::string& l : splitLines(readFile(rec)))
    if (contains(l, piece) && l[0] >= '0' && l[0] <= '9') return l.substr(0, l.find(' '));
  return "?";
}

// The pauses of a recording but the fan controller's own, in order, a run of equal ones as one "N x".
std::string pausesOf(const std::string& rec) {
  std::vector<std::string> p;
  for (const std::string& l : splitLines(readFile(rec)))
    if (size_t at = l.find(" sleep "); at != std::string::npos && !contains(l, " sleep 2000us")) p.push_back(l.substr(at + 7));
  std::string out;
  for (size_t i = 0, j = 0; i < p.size(); i = j) {
    while (j < p.size() && p[j] == p[i]) ++j;
    out += (out.empty() ? "" : ", ") + (j - i > 1 ? std::to_string(j - i) + " x " : "") + p[i];
  }
  return out;
}

long voluntarySwitchesOf(const std::vector<std::string>& args) {
  struct rusage before, after;
  getrusage(RUSAGE_CHILDREN, &before);
  replayed(args);
  getrusage(RUSAGE_CHILDREN, &after);
  return after.ru_nvcsw - before.ru_nvcsw;
}

// The configuration diag-simctl show gives, without its count of accesses.
std::string configOf(const std::string& show) { return show.substr(0, show.find("accesses")); }

struct Row {
  std::vector<std::vector<std::string>> setup;  // diag-simctl commands before the run
  std::vector<std::string> args;
  std::string input = "";
};

using RecordReplay = FreshSim;
}  // namespace

TEST_F(RecordReplay, EveryCommandOfTheEndToEndTestsReplaysWithItsOutputAndStatus) {
  writeFile(testPath("s1.txt"), "#!banner %s\n# note\n ec -cd Scan\nnosuch\nec -cd SD\r\nfile other\nq\nstop\nversion\n");
  const std::vector<std::string> stuck = {"fpga", "fault", "stuck", "0x04", "3", "0"};
  const Row rows[] = {
      {{}, {"nosuch", "x"}},
      {{}, {std::string(300, 'x')}},
      {{}, {"ec", "-cd", "%s%n%d%%"}},
      {{}, {"--help"}},
      {{{"revision", "none"}}, {"--version"}},
      {{}, {"file", testPath("s1.txt")}},
      {{}, {"delay", "-m", "0x10", "-s"}},
      {{}, {"utp", "-m", "Press", "Enter", "-f", testPath("utp.out")}, "done 100%% %d\n"},
      {{}, {"system", "echo", "hi%s"}},
      {{}, {"log", "psc", "on"}},
      {{}, {"ta"}},
      {{}, {"gpmc"}},
      {{}, {"gpmc", "-m", "reg", "-r", "16"}},
      {{stuck}, {"--exit-status", "runtest", "gpmcreg"}},
      {{{"set", "board", "signal"}}, {"gpmc", "-m", "obuf", "-w", "4", "-d", "0x1234"}},
      {{{"set", "board", "signal"}}, {"allok", "-scn", "s"}},
      {{{"kernel", "fail", "ioctl", "fpga", "EIO", "0x11abc1"}}, {"--exit-status", "gpmc", "-m", "reg", "-r", "2"}},
      {{}, {"i2c", "-l"}},
      {{}, {"i2c", "-d", "fctl", "-o", "0x99", "-r", "1"}},
      {{}, {"i2c", "-d", "mhEeprom", "-o", "0", "-r", "300"}},
      {{{"i2c", "absent", "mrtmp2", "on"}}, {"--exit-status", "runtest", "i2cscn"}},
      {{{"i2c", "fan-fail", "2", "on"}}, {"fan", "-ds"}},
      {{}, {"fan", "-r"}},
      {{{"set", "rev", "2"}}, {"file", std::string(DIAG_SOURCE_DIR) + "/examples/production.txt"}},
  };
  int n = 0;
  for (const Row& row : rows) {
    const std::string rec = testPath("rec" + std::to_string(n++));
    SCOPED_TRACE(rec);
    simctl({"reset"});
    for (const auto& c : row.setup) simctl(c);
    Trace trace;
    RunResult first = recorded(rec, row.args, row.input);
    EnvSet desk("DIAG_EXIT_STATUS", "1");  // the desk's own setting is not the recorded run's
    RunResult again = replayed({rec}, row.input);
    EXPECT_FALSE(first.timedOut || again.timedOut);
    EXPECT_EQ(again.exitCode, first.exitCode) << again.out;
    EXPECT_EQ(again.out, first.out);
    if (row.setup.empty() || row.setup[0][0] != "kernel") {
      EXPECT_EQ(traceWords(rec), trace.lines());
    }
  }
}

// One byte changed in a request: the replay runs up to it and stops there, naming it.
TEST_F(RecordReplay, ARequestThatDiffersStopsTheReplayAtItsNumber) {
  const std::string rec = testPath("rec");
  writeFile(rec, "an older recording, replaced\n");
  {
    EnvSet utc("TZ", "UTC");
    ASSERT_EQ(recorded(rec, {"i2c", "-d", "fctl", "-o", "0x90", "-r", "2"}).out, "0x0be0\n");
  }
  const std::string text = readFile(rec);
  EXPECT_EQ(text.rfind("diag recording 1\n", 0), 0u) << text;  // the older one replaced, not added to
  const std::regex start("(^|\n)start 2[0-9]{3}-[01][0-9]-[0-3][0-9] [0-2][0-9]:[0-5][0-9]:[0-6][0-9]\\.[0-9]{6} \\+0000\n");
  EXPECT_TRUE(std::regex_search(text.substr(0, text.find("\n1 ")), start)) << text;  // its wall clock, in the zone asked
  EXPECT_TRUE(contains(text, " lock take diagSem\n") && contains(text, " lock give diagSem\n")) << text;
  struct Change { std::string from, to, recorded, asked, printedBefore; } changes[] = {
      {"cmd 0x90", "cmd 0x91", "i2c-2 0x52 smbus read word_data cmd 0x91", "i2c-2 0x52 smbus read word_data cmd 0x90"},
      {"0x71 write 02", "0x71 write 03", "i2c-2 rdwr 0x71 write 03 ; 0x71 read 1",
       "i2c-2 rdwr 0x71 write 02 ; 0x71 read 1"},
      {"boardrev.txt O", "boardrev.tx_ O", "open /vesta/diags/boardrev.tx_ O_RDONLY",
       "open /vesta/diags/boardrev.txt O_RDONLY"},
      {"lock give diagSem", "lock give diagSem -> EIO", "lock give diagSem -> EIO", "lock give diagSem", "0x0be0\n"},
  };
  for (const Change& c : changes) {
    SCOPED_TRACE(c.to);
    const size_t at = text.find(c.from);
    ASSERT_NE(at, std::string::npos);
    writeFile(testPath("changed"), text.substr(0, at) + c.to + text.substr(at + c.from.size()));
    RunResult r = replayed({testPath("changed")});
    EXPECT_EQ(r.exitCode, 3);
    EXPECT_EQ(r.out, c.printedBefore + "diag-replay: request " + numberOf(testPath("changed"), c.to) + " differs: recorded \"" + c.recorded +
                         "\", asked \"" + c.asked + "\"\n");
  }
  // A recording cut short, and one that holds a request more than the program asks.
  writeFile(testPath("cut"), text.substr(0, text.rfind("\n", text.rfind(" close fd ")) + 1));
  EXPECT_TRUE(contains(replayed({testPath("cut")}).out, "differs: recorded nothing more, asked \"close fd "));
  const std::string more = std::to_string(traceWords(rec).size() + countOf(text, " lock ") + 1) + " 9.0 close fd 7\n";
  writeFile(testPath("more"), text + more);
  EXPECT_TRUE(contains(replayed({testPath("more")}).out, "recorded \"close fd 7\", asked nothing more (the program ended)"));
  EXPECT_EQ(replayed({testPath("nosuch")}).out, "diag-replay: cannot read " + testPath("nosuch") + " (No such file or directory)\n");
  // An answer that is not one (a word, a byte with one bad digit, a file's text and a word more): stopped there.
  for (const auto& [good, bad] : {std::pair<std::string, std::string>{"-> 0be0", "-> 0bzz"}, {" read 1 -> 0", " read 1 -> g"},
                                  {"-> 2 \"3\\n\"", "-> 2 \"3\\n\" x"}, {"-> fd ", "-> fd 0x"}}) {
    writeFile(testPath("bad"), text.substr(0, text.find(good)) + bad + text.substr(text.find(good) + good.size()));
    RunResult r = replayed({testPath("bad")});
    EXPECT_TRUE(r.exitCode == 3 && countOf(r.out, "\n") == 1 && contains(r.out, "\" is no answer to ")) << r.out;
  }
  // A driver's count where nothing was answered is the call's result; a start's zone that is none is left alone.
  std::string odd = text;
  odd.insert(odd.find("slave_force 0x52") + 16, " -> 0");
  writeFile(testPath("odd"), odd.replace(odd.find(" +0000\n"), 7, " +1\n"));
  EXPECT_EQ(replayed({testPath("odd")}).out, "0x0be0\n");
  RunResult bare = replayed({}), help = replayed({"--help"}), two = replayed({"a.rec", "b.rec"});
  EXPECT_TRUE(two.exitCode == 2 && two.out == "diag-replay: b.rec is not understood (--help tells the usage)\n") << two.out;
  EXPECT_TRUE(bare.exitCode == 2 && bare.out.rfind("usage: diag-replay", 0) == 0) << bare.out;
  EXPECT_TRUE(help.exitCode == 0 && help.out == bare.out) << help.out;  // asked for: told, and no failure
}

TEST_F(RecordReplay, ARecordingThatCannotBeWrittenIsOneLineAndTheRunGoesOn) {
  const std::string fifo = testPath("unread.fifo");
  mkfifo(fifo.c_str(), 0600);
  // A process it starts is told of no recording to record beside: the run goes on as if none was asked for.
  const std::vector<std::string> args = {"system", "echo", "run;", "printenv", "DIAG_RECORD_PARENT"};
  const RunResult plain = runSim(args);
  for (const auto& [path, why] : {std::pair{testDir(), "Is a directory"}, {fifo, "a FIFO that nothing reads"},
                                  {testPath("no/such/dir"), "No such file or directory"},
                                  {std::string("/dev/full"), "No space left on device"}}) {
    RunResult r = recorded(path, args);
    EXPECT_EQ(r.exitCode, plain.exitCode);
    EXPECT_EQ(r.out, "diag-sim: cannot write the recording to " + path + " (" + why + "); going on without it\n" + plain.out);
  }
}

// A process started by a recorded one records beside it and replays on its own.
TEST_F(RecordReplay, ABackgroundJobRecordsBesideItsParentAndReplaysOnItsOwn) {
  std::string child;  // in a script: with the emulator of a cross build, the line would pass 199 characters
  for (const std::string& w : programArgv(diagSimBin(), {"gpmc", "-m", "reg", "-r", "2"})) child += w + " ";
  writeFile(testPath("child.sh"), child + "> " + testPath("child.out") + "\n");
  const std::string rec = testPath("bg.rec");
  RunResult parent = recorded(rec, {"bg", "sh", testPath("child.sh")});
  ASSERT_EQ(parent.exitCode, 0) << parent.out;
  std::vector<std::string> children;  // the job ran to its end: it held the parent's output open
  for (const auto& e : std::filesystem::directory_iterator(testDir()))
    if (e.path().filename().string().rfind("bg.rec.", 0) == 0) children.push_back(e.path().string());
  ASSERT_EQ(children.size(), 1u);
  EXPECT_TRUE(contains(readFile(children[0]), "\nparent "));
  EXPECT_TRUE(contains(readFile(children[0]), "\nend\n"));
  EXPECT_EQ(replayed({children[0]}).out, readFile(testPath("child.out")));
  EXPECT_TRUE(contains(readFile(testPath("child.out")), "0000: "));
}

// Pauses are replayed, not slept: a recorded second of delay is a thousand
// pauses, each a voluntary wait of the process only when slept.
TEST_F(RecordReplay, PausesTakeNoTimeUnlessAskedFor) {
  const std::string rec = testPath("delay.rec"), ta = testPath("ta.rec");
  RunResult shown;
  {
    EnvSet halfHour("TZ", "<-0330>3:30");  // the start's zone has its minutes too
    ASSERT_EQ(recorded(rec, {"delay", "-s", "1"}).exitCode, 0);
    shown = recorded(ta, {"ta"});
  }
  EXPECT_TRUE(contains(shown.out, "\n12-31-1969  20:30:01.0\n")) << shown.out;  // times shown in that zone,
  EXPECT_EQ(replayed({ta}).out, shown.out);  // and so replayed in another
  const std::string text = readFile(rec);
  EXPECT_TRUE(contains(text.substr(0, text.find("\n1 ")), " -0330\n")) << text;
  ASSERT_EQ(pausesOf(rec), "1000 x 900us");
  EXPECT_LT(voluntarySwitchesOf({rec}), 200);
  EXPECT_GE(voluntarySwitchesOf({"--real-time", rec}), 1000);

  // The fan controller's pause after its page select and after the command, as the recording shows them.
  const std::pair<std::vector<std::string>, std::string> fanRuns[] = {
      {{"fan", "-rr", "-o", "0x90"}, "write byte_data cmd 0x00 data 00, pause, read word_data cmd 0x90 -> 0be0, pause, "},
      {{"fan", "-p", "1", "-w", "2", "-o", "0x3b", "-d", "0x1234"},
       "write byte_data cmd 0x00 data 01, pause, write word_data cmd 0x3b data 1234, pause, "}};
  for (const auto& [args, steps] : fanRuns) {
    ASSERT_EQ(recorded(rec, args).exitCode, 0);
    std::string seen;
    for (const std::string& l : splitLines(readFile(rec)))
      seen += contains(l, " sleep 2000us") ? "pause, " : contains(l, "0x52 smbus ") ? l.substr(l.find("smbus ") + 6) + ", " : "";
    EXPECT_EQ(seen, steps);
  }
  ASSERT_EQ(recorded(rec, {"fan", "-r"}).exitCode, 0);  // the dump: the same for each register
  EXPECT_EQ(countOf(readFile(rec), " sleep 2000us\n"), 2 * countOf(readFile(rec), "0x52 smbus read "));
  // The hardware's own times: an all-okay output's settling, a sensor's conversion, an FPGA write's, an input file's words, the transmit count's second.
  writeFile(testPath("mref.txt"), "allok -fno mref\nallok -set M mref\n");
  writeFile(testPath("words.txt"), "1\n2\n3\n");
  const std::pair<std::vector<std::string>, std::string> paused[] = {
      {{"allok", "-set", "M"}, "2 x 300000us"},
      {{"allok", "-fno", "fctl"}, "2 x 300000us"},
      {{"file", testPath("mref.txt")}, "100000us"},
      {{"gpmc", "-m", "reg", "-w", "1", "-o", "0x10", "-d", "1"}, "50000us"},
      {{"gpmc", "-m", "reg", "-w", "-fi", testPath("words.txt")}, "3 x 500us"},
      {{"gpmc", "-m", "reg", "-t"}, "1032 x 900us"}};
  for (const auto& [args, pauses] : paused) {
    simctl({"reset"});
    ASSERT_EQ(recorded(rec, args).exitCode, 0);
    EXPECT_EQ(pausesOf(rec), pauses) << args[0] << " " << args[1];
  }
  // Each look for the end of a memory's write cycle comes after its pause; how many looks it takes is the
  // simulated memory's time, not the test's.
  ASSERT_EQ(recorded(rec, {"i2c", "-d", "bpEeprom", "-o", "0", "-w", "0x12"}).exitCode, 0);
  EXPECT_TRUE(std::regex_match(pausesOf(rec), std::regex("([0-9]+ x )?1000us"))) << pausesOf(rec);
}

// The simulator set from a recording answers as the recorded instrument did:
// its board and revision found from the system files, the chips' contents from
// what was read (a failed fan, a memory byte, a temperature), the FPGA words.
TEST_F(RecordReplay, TheSimulatorTakesTheStateARecordingRead) {
  const std::vector<std::vector<std::string>> setups[] = {
      {{"set", "board", "signal"}, {"set", "rev", "2"}, {"fpga", "poke", "reg", "0x04", "0xbeef"}},
      {{"i2c", "fan-fail", "1", "on"}, {"i2c", "poke", "bpEeprom", "0", "0x41"}, {"set", "temp", "45.5"}},
  };
  const std::string script = testPath("look.txt");
  writeFile(script, "gpmc -m reg -r 8\nfan -ds\ni2c -d mrtmp1 -o 0 -r 1\ni2c -d mrtmp1 -o 0x22 -r 1\n"
                    "i2c -d bpEeprom -o 0 -r 16\nruntest fcreg\nversion\n");
  for (const auto& setup : setups) {
    SCOPED_TRACE(setup[0][1]);
    simctl({"reset"});
    for (const auto& c : setup) simctl(c);
    const std::string before = configOf(simctl({"show"}));
    const RunResult first = recorded(testPath("look.rec"), {"file", script});
    simctl({"reset"});
    EXPECT_EQ(simctl({"load-recording", testPath("look.rec")}).rfind("board ", 0), 0u);
    EXPECT_EQ(configOf(simctl({"show"})), before);
    EXPECT_EQ(runSim({"file", script}).out, first.out);
  }
  EXPECT_EQ(simctl({"i2c", "peek", "bpEeprom", "0"}), "0x41\n");
  // A transfer of a size it does not know is left out, not taken as another kind of transfer (on an adapter that
  // would take a quick one).
  simctl({"set", "adapter", "full"});
  std::string text = readFile(testPath("look.rec")), all = simctl({"load-recording", testPath("look.rec")});
  text.replace(text.find(" smbus write byte_data "), 23, " smbus write byte_dada ");  // and a byte read that gave two:
  writeFile(testPath("odd.rec"), text.insert(text.find(" smbus read byte_data cmd 0x00 -> ") + 34, "00 "));
  const std::string odd = simctl({"load-recording", testPath("odd.rec")});
  EXPECT_EQ(std::stoul(odd.substr(odd.find(": ") + 2)) + 2, std::stoul(all.substr(all.find(": ") + 2))) << odd;
}
