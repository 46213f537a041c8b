#include <gtest/gtest.h>

#include <cstring>
#include <source_location>
#include <string>
#include <tuple>
#include <vector>

#include "log.h"
#include "textUtil.h"

using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

// A text from outside is an argument and prints as it is, whatever '%' it holds.
TEST(LogOutput, FormatsOnceAndPrintsUserTextExactly) {
  CaptureStdout();
  log(LOG_TERM, "%d%% of %s\n", 50, "file%s.txt");
  log(LOG_TERM, "%s", "answer 100%% %d %n\n");
  log(LOG_SYS, "only to the system log\n");
  EXPECT_EQ(GetCapturedStdout(), "50% of file%s.txt\nanswer 100%% %d %n\n");
}

// A message is whole up to the buffer's 511 characters, and a longer one is cut there, never overrun.
TEST(LogOutput, LongMessagesArePrintedWholeUpToTheBuffer) {
  for (size_t n : {199u, 511u, 600u}) {
    std::string msg(n, 'm');
    EXPECT_EQ(captured([&] { log(LOG_TERM, "%s", msg.c_str()); }), msg.substr(0, 511)) << n;
  }
}

TEST(LogOutput, ErrorPrefixNamesFileLineAndFunction) {
  CaptureStdout();
  int line = __LINE__ + 1;
  LOGERR(LOG_TERM, "bad %s\n", "thing");
  EXPECT_EQ(GetCapturedStdout(), "file logTest, line " + std::to_string(line) + ", function TestBody - bad thing\n");
}

namespace {
std::string placeName(std::source_location where = std::source_location::current()) {
  return fnName(where.function_name());
}
std::string freeFunction(int, char[][ARG_LEN]) { return placeName() + "=" + __func__; }
template <typename T>
std::string templateFunction(T) { return placeName() + "=" + __func__; }
struct Holder {
  std::string member() const { return placeName() + "=" + __func__; }
  std::string operator()() { return placeName() + "=" + __func__; }
  template <typename T>
  std::vector<T> memberTemplate() { return {T(placeName() + "=" + __func__)}; }
};
}  // namespace

// A caller's place names its function as __func__ does, whatever the signature
// the compiler reports for it.
TEST(LogPlace, FunctionNameIsThePlainName) {
  char args[1][ARG_LEN] = {};
  for (const std::string& got : {freeFunction(0, args), templateFunction(std::vector<int>{}), Holder().member(),
                                 Holder()(), Holder().memberTemplate<std::string>()[0],
                                 [] { return placeName() + "=" + __func__; }(), placeName() + "=" + __func__,
                                 [] {  // a function of a class within a lambda
                                   struct Local { static std::string f() { return placeName() + "=" + __func__; } };
                                   return Local::f();
                                 }()}) {
    size_t eq = got.find('=');
    EXPECT_EQ(got.substr(0, eq), got.substr(eq + 1));
  }
  EXPECT_EQ(fnName("E_STATUS FanCtlr::rdFanCtlrReg(unsigned char, unsigned char, short unsigned int*)"),
            "rdFanCtlrReg");
  EXPECT_EQ(fnName("std::map<int, int> ns::find<int>(const char*) [with T = int]"), "find");
  EXPECT_EQ(fnName("bool refuse(const char*)") + fnName("") + fnName(nullptr), "refuse");  // no scope, no name
}
