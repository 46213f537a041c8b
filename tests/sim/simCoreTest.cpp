#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <tuple>

#include "kernel.h"
#include "programs.h"
#include "simCtl.h"
#include "simStore.h"
#include "testEnv.h"

namespace {
const std::string ADAPTER2 = "/sys/devices/platform/omap/omap_i2c.2/i2c-2";

std::string sysName(int addr) {
  char path[128], buf[32];
  snprintf(path, sizeof path, "%s/2-%04x/name", ADAPTER2.c_str(), addr);
  return kernel().readFile(path, buf, sizeof buf) < 0 ? "<none>" : buf;
}

uint64_t accesses() {
  sim::SimLock lk;
  return lk.state().accesses;
}
}  // namespace

TEST(SimState, TwoProcessesLoseNoUpdate) {
  constexpr int ROUNDS = 20000;
  uint64_t before = accesses();
  pid_t kids[2];
  for (pid_t& k : kids) {
    k = fork();
    if (k == 0) {
      char buf[16];
      for (int i = 0; i < ROUNDS; ++i)
        if (kernel().readFile("/vesta/diags/boardrev.txt", buf, sizeof buf) != 2) _exit(1);
      _exit(0);
    }
  }
  for (pid_t k : kids) {
    int status = -1;
    EXPECT_TRUE(waitpid(k, &status, 0) == k && WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  // Every open and every read counts once, under the lock, whoever served it.
  EXPECT_EQ(accesses() - before, 2u * 2u * ROUNDS + 1u);
}

// Board detection and the switch addresses read from these entries are
// checked through the device registry in i2cDevMapTest.cpp.
TEST(SimState, SysfsFollowsTheBoardConfiguration) {
  simctls({{"reset"}, {"set", "switch", "host", "pca9545"}});
  EXPECT_EQ(sysName(0x69), "pca9545\n");
  EXPECT_FALSE(kernel().canOpen("/sys/bus/i2c/devices/2-0071"));
  simctl({"set", "rev", "2"});
  EXPECT_EQ(sysName(0x69), "<none>");
  char buf[8];
  kernel().readFile("/vesta/diags/boardrev.txt", buf, sizeof buf);
  EXPECT_STREQ(buf, "2\n");

  simctl({"set", "board", "mref"});
  EXPECT_EQ(kernel().open("/dev/z9fpga0", O_RDWR), -1);

  simctl({"reset"});
  EXPECT_NE(simctl({"show"}).find("board main\nrev 3\n"), std::string::npos);
}

TEST(SimKernel, FailsLikeTheKernelAndCountsCalls) {
  Kernel& k = kernel();
  Kernel::Counts before = k.counts();
  errno = 0;
  EXPECT_EQ(k.open("/dev/i2c-9", O_RDWR), -1);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(k.open("/etc/passwd", O_RDONLY), -1);  // nothing of the real machine leaks in
  EXPECT_EQ(k.close(12345), -1);
  EXPECT_EQ(errno, EBADF);
  int fd = k.open(ADAPTER2.c_str(), O_RDONLY);
  ASSERT_GE(fd, 0);
  char c;
  EXPECT_EQ(k.read(fd, &c, 1), -1);
  EXPECT_EQ(errno, EISDIR);
  EXPECT_EQ(k.ioctl(fd, 0x0706, nullptr), -1);
  k.write(fd, &c, 1);
  EXPECT_EQ(k.close(fd), 0);
  Kernel::Counts a = k.counts();
  EXPECT_EQ(std::tuple(a.open - before.open, a.close - before.close, a.read - before.read, a.ioctl - before.ioctl,
                       a.write - before.write), std::tuple(3u, 2u, 1u, 1u, 1u));
  char text[8] = "stale";
  EXPECT_EQ(k.readFile("/nope", text, sizeof text), -1);
  EXPECT_STREQ(text, "");
  EXPECT_TRUE(k.readFile("/vesta/diags/boardrev.txt", text, 2) == 1 && k.readFile("/vesta/diags/boardrev.txt", text, 0) == -1);
}

TEST(SimCtl, ResetsAStateFileOfAnotherLayoutAndRejectsBadCommands) {
  std::string path = testPath("other.state");
  writeFile(path, std::string(64, 'x'));
  RunResult r = runProgram(programArgv(simctlBin(), {"show"}, "DIAG_SIM_STATE=" + path));
  EXPECT_TRUE(r.exitCode == 0 && r.out.find("board main\nrev 3\n") != std::string::npos) << r.out;

  r = runProgram(programArgv(simctlBin(), {"set", "board", "moon"}));
  EXPECT_EQ(r.exitCode, 2);
  EXPECT_NE(r.out.find("usage: diag-simctl"), std::string::npos);
  EXPECT_EQ(runProgram(programArgv(simctlBin(), {"frobnicate"})).exitCode, 2);
  EXPECT_EQ(runProgram(programArgv(simctlBin(), {"revision", testPath("nope")})).exitCode, 2);
}

// A temperature word that is no number of the sensors' range used to be
// converted anyway (1e30 or -5 degrees overflowed the unsigned configuration).
// It is refused, as a sensor, a channel or a zone that is not there is, and
// the temperature set before stays.
TEST(SimCtl, RefusesTemperaturesOutsideTheSensorsRangeAndWhatNoSensorOrZoneMeasures) {
  simctls({{"reset"}, {"set", "temp", "45.5"}});
  EXPECT_NE(simctl({"show"}).find("temp 45.5\n"), std::string::npos);
  std::vector<std::vector<std::string>> bad = {
      {"set", "sensor", "mrtmp3", "local", "1"},    {"set", "sensor", "mrtmp1", "middle", "1"},
      {"set", "sensor", "mrtmp1", "local", "open"}, {"set", "sensor", "mrtmp1", "local", "128"},
      {"set", "sensor", "mrtmp1", "remote", "nan"}, {"set", "zone", "4", "30"}, {"set", "zone", "0", "1e9"}};
  for (const char* t : {"1e30", "-5", "nan", "inf", "128", "", "40x"}) bad.push_back({"set", "temp", t});
  for (const std::vector<std::string>& b : bad) {
    std::string out;
    EXPECT_EQ(sim::simCtl(b, out), 2) << b[1] << " " << b[2] << " " << b.back();
    const std::string says = b[1] == "temp" ? "is not a temperature from 0 to 127" : "set " + b[1] + ": ";
    EXPECT_NE(out.find(says), std::string::npos) << out;
  }
  EXPECT_NE(simctl({"show"}).find("temp 45.5\n"), std::string::npos);
}

// An operator reads the program's chip names in i2c -l; diag-simctl takes
// them as well as its own, and an unknown name says where the names are.
TEST(SimCtl, TakesTheProgramsChipNamesToo) {
  simctls({{"reset"}, {"i2c", "absent", "bpEeprom", "on"}});
  const std::string list = simctl({"i2c", "list"});
  const size_t line = list.find("\nbp-eeprom ");
  ASSERT_NE(line, std::string::npos) << list;
  EXPECT_NE(list.substr(line, list.find('\n', line + 1) - line).find(" absent"), std::string::npos) << list;
  std::string out;
  EXPECT_EQ(sim::simCtl({"i2c", "absent", "bp-eeprom", "off"}, out), 0);
  EXPECT_EQ(sim::simCtl({"i2c", "nack", "fpEeprom", "on"}, out), 0);  // the front-panel processor's: fpp-eeprom
  EXPECT_EQ(sim::simCtl({"i2c", "absent", "bpEEPROM", "on"}, out), 2);
  EXPECT_EQ(out.substr(0, out.find('\n')),
            "unknown chip bpEEPROM: diag-simctl i2c list names the chips of this board (the program's names, such as "
            "bpEeprom, are taken too)");
  simctl({"reset"});
}
