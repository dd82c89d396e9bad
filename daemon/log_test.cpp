#include "daemon/log.h"

#include <gtest/gtest.h>

namespace ketra::vspd {
namespace {

TEST(LogTest, TheJournalGetsPrioritiesATerminalGetsTimeAndLevel) {
  const auto when = std::chrono::system_clock::time_point(std::chrono::milliseconds(1700000000042));
  struct Case {
    LogLevel level;
    bool journal;
    const char* line;
  };
  const Case cases[] = {
      {LogLevel::kError, true, "<3>port gone\n"},
      {LogLevel::kWarning, true, "<4>port gone\n"},
      {LogLevel::kInfo, true, "<6>port gone\n"},
      {LogLevel::kError, false, "2023-11-14T22:13:20.042Z error port gone\n"},
      {LogLevel::kInfo, false, "2023-11-14T22:13:20.042Z info port gone\n"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(FormatLogLine(c.level, "port gone", c.journal, when), c.line);
  }
}

}  // namespace
}  // namespace ketra::vspd
