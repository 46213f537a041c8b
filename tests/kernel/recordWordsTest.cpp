// A recording read back gives the program the same answers, for the requests
// the simulator does not carry (I2C_RDWR, an I2C block read of a chosen length)
// and for awkward text (a path with blanks and quotes, a file's text with a
// newline, a clock and a pause): a recording made around a small loopback
// adapter, replayed request by request in this process.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "kernelText.h"
#include "recordKernel.h"
#include "replayKernel.h"
#include "testEnv.h"
#include "textUtil.h"

namespace {
const char* const ODD_PATH = "/sys/odd \"name\"\\x";
const std::string ODD_TEXT = "24c32 \"fp\"~\n\x7f";  // ~ the last byte shown as it is

// Adapter 0, on which a read gives the bytes last written, each plus one; a
// system file at ODD_PATH; the clock at a fixed time. Nothing else exists.
class LoopKernel : public Kernel {
protected:
  int doOpen(const char* path, int) override {
    if (!strcmp(path, "/dev/i2c-0")) return 3;
    if (!strcmp(path, ODD_PATH)) return 4;
    errno = ENOENT;
    return -1;
  }
  int doClose(int) override { return 0; }
  ssize_t doRead(int fd, void* buf, size_t n) override {
    size_t k = fd == 4 ? std::min(n, ODD_TEXT.size()) : 0;
    memcpy(buf, ODD_TEXT.data(), k);
    return static_cast<ssize_t>(k);
  }
  ssize_t doWrite(int, const void*, size_t n) override { return static_cast<ssize_t>(n); }
  int doIoctl(int, unsigned long request, void* arg) override {
    if (request == I2C_SLAVE_FORCE) return 0;
    if (request == I2C_SMBUS) {
      auto* r = static_cast<i2c_smbus_ioctl_data*>(arg);
      for (int k = 1; k <= r->data->block[0]; ++k) r->data->block[k] = static_cast<__u8>(r->command + k);
      return 0;
    }
    auto* d = static_cast<i2c_rdwr_ioctl_data*>(arg);
    for (__u32 m = 0; m < d->nmsgs; ++m)
      for (__u16 k = 0; k < d->msgs[m].len; ++k)
        if (d->msgs[m].flags & I2C_M_RD) d->msgs[m].buf[k] = static_cast<__u8>(last[k % 2] + 1);
        else last[k % 2] = d->msgs[m].buf[k];
    return static_cast<int>(d->nmsgs);
  }
  void* doMmap(size_t, int, int, int, off_t) override { return nullptr; }
  int doMunmap(void*, size_t) override { return 0; }
  int doSleepUs(long long) override { return 0; }
  int doClockGet(clockid_t, struct timespec* t) override {
    *t = {1764096777, 94872001};
    return 0;
  }

private:
  uint8_t last[2] = {0, 0};
};

// The same requests, through one kernel or the other; what each gave back, as text.
std::string requests(Kernel& k) {
  std::string seen;
  int fd = k.open("/dev/i2c-0", O_RDWR);
  i2c_smbus_data data;  // before an address is chosen: the adapter's client is at 0
  data.block[0] = 3;
  i2c_smbus_ioctl_data block = {I2C_SMBUS_READ, 0x20, I2C_SMBUS_I2C_BLOCK_DATA, &data};
  k.ioctl(fd, I2C_SMBUS, &block);
  seen += "block " + std::string(data.block + 1, data.block + 4) + "\n";
  data.block[0] = 2;  // and a block written: its count, then its bytes
  block.read_write = I2C_SMBUS_WRITE;
  k.ioctl(fd, I2C_SMBUS, &block);
  k.ioctlVal(fd, I2C_SLAVE_FORCE, 0x50);
  uint8_t addr[2] = {0x00, 0x10}, got[6] = {};  // a read first: each read message has its answer
  i2c_msg msgs[4] = {{0x50, I2C_M_RD, 2, got}, {0x50, 0, 2, addr}, {0x50, I2C_M_RD, 2, got + 2}, {0x50, I2C_M_RD, 2, got + 4}};
  i2c_rdwr_ioctl_data d = {msgs, 4};
  int r = k.ioctl(fd, I2C_RDWR, &d);
  seen += "rdwr " + std::to_string(r) + " " + std::string(got, got + 6) + "\n";
  char text[32] = {};
  int odd = k.open(ODD_PATH, O_RDONLY);
  ssize_t n = k.read(odd, text, sizeof text);
  seen += "text " + std::to_string(n) + " " + text + "\n";
  seen += "nothing " + std::to_string(k.read(fd, text, sizeof text)) + "\n";  // a read that the adapter answers with none
  r = k.open("/nope", O_RDONLY);
  seen += "missing " + std::to_string(r) + " " + std::to_string(errno) + "\n";
  struct timespec t;
  k.clockGet(CLOCK_REALTIME, &t);
  r = k.sleepUs(5);
  seen += "clock " + std::to_string(t.tv_sec) + "." + std::to_string(t.tv_nsec) + " " + std::to_string(r) + "\n";
  k.lockNote(true, "diagSem", 0);
  k.close(odd);
  k.close(fd);
  return seen;
}
}  // namespace

TEST(RecordWords, ARecordingGivesBackWhatTheKernelGave) {
  const std::string path = testPath("loop.rec");
  LoopKernel loop;
  RecordKernel rec(loop);
  char prog[] = "diag", word[] = "two words";
  char* argv[] = {prog, word, nullptr};
  ASSERT_TRUE(rec.start(path, 2, argv, nullptr));
  const std::string live = requests(rec);
  EXPECT_EQ(live, "block !\"#\nrdwr 4 \x01\x01\x01\x11\x01\x11\ntext " + std::to_string(ODD_TEXT.size()) + " " + ODD_TEXT +
                      "\nnothing 0\nmissing -1 2\nclock 1764096777.94872001 0\n");
  const std::string text = readFile(path);
  for (const char* line : {"\nargs diag \"two\\x20words\"\n", " i2c-0 rdwr 0x50 read 2 ; 0x50 write 00 10 ; 0x50 read 2 ; 0x50 read 2 -> 01 01 ; 01 11 ; 01 11\n",
                           " i2c-0 0x00 smbus read i2c_block_data cmd 0x20 len 3 -> 21 22 23\n",
                           " i2c-0 0x00 smbus write i2c_block_data cmd 0x20 data 21 22\n",
                           " read \"/sys/odd\\x20\\\"name\\\"\\\\x\" 32 -> 13 \"24c32\\x20\\\"fp\\\"~\\n\\x7f\"\n",
                           " open /nope O_RDONLY -> ENOENT\n", " open /dev/i2c-0 O_RDWR -> fd 3\n", " clock realtime -> 1764096777.094872001\n",
                           " sleep 5us\n", " lock take diagSem\n"})
    EXPECT_TRUE(contains(text, line)) << line << "\nnot in:\n" << text;
  // An FPGA space that the driver does not have is named by its number.
  EXPECT_EQ(fpgaWordText(true, 6, 0x10, 1) + ", " + fpgaWordText(false, 0, 2, 0),
            "fpga wr devtype 6 0x0010 0x0001, fpga rd devtype 0 0x0002");

  ReplayKernel replay;
  std::string why;
  ASSERT_TRUE(replay.load(path, false, &why)) << why;
  EXPECT_EQ(replay.recording().args, (std::vector<std::string>{"diag", "two words"}));
  EXPECT_EQ(requests(replay), live);

  // A recording edited by hand may spell an escape in capitals, or a carriage return and a tab as \r and \t; what is not a
  // line of a recording is refused, not read as something else.
  const size_t take = text.find(" lock take diagSem");
  const size_t no = text.rfind('\n', take) + 1, stamp = text.find(' ', no) + 1;
  struct Edit { size_t at, len; std::string by, why; } edits[] = {
      {text.find("\\x20words"), 4, "\\r\\t\\x2A\\x2F", ""},
      {text.find("\\x20words"), 4, "\\x2G", "not a line of a recording"},
      {text.find("\\x20words"), 4, "\\q20", "not a line of a recording"},
      {text.find("\nargs "), 1, "\ncolour blue\n", "not a line of a recording"},
      {text.find("\nargs "), 1, "\nenv TZ\n", "not a line of a recording"},  // a name without its value
      {stamp, take - stamp, "", "not request "}, {no, stamp - 1 - no, "099", "not request "}};
  for (const Edit& e : edits) {
    writeFile(path, text.substr(0, e.at) + e.by + text.substr(e.at + e.len));
    ReplayKernel edited;
    EXPECT_EQ(edited.load(path, false, &why), e.why.empty()) << e.by;
    if (e.why.empty()) EXPECT_EQ(edited.recording().args[1], "two\r\t*/words");
    else EXPECT_TRUE(contains(why, e.why)) << e.by << ": " << why;
  }
  // An SMBus answer edited into something that is not hex bytes is no answer, for a byte as for a block.
  i2c_smbus_data d{};
  for (int size : {I2C_SMBUS_BYTE_DATA, I2C_SMBUS_BLOCK_DATA}) {
    i2c_smbus_ioctl_data r = {I2C_SMBUS_READ, 0x20, static_cast<__u32>(size), &d};
    EXPECT_TRUE(smbusTakeAnswer("2a", &r) && d.block[size == I2C_SMBUS_BYTE_DATA ? 0 : 1] == 0x2a) << size;
    EXPECT_FALSE(smbusTakeAnswer("2g", &r)) << size;
  }
  i2c_smbus_ioctl_data two = {I2C_SMBUS_READ, 0x20, I2C_SMBUS_I2C_BLOCK_DATA, &d};
  EXPECT_FALSE((d.block[0] = 2, smbusTakeAnswer("2a", &two)));  // two bytes asked for, one answered
  std::string most = "2a";  // and the most a block holds
  for (int i = 1; i < I2C_SMBUS_BLOCK_MAX; ++i) most += " 2a";
  EXPECT_TRUE((d.block[0] = I2C_SMBUS_BLOCK_MAX, smbusTakeAnswer(most, &two)));
}
