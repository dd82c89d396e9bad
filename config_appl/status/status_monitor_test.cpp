#include "config_appl/status/status_monitor.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "config_appl/app/test_started_program.h"

namespace ketra {
namespace {

using StatusTest = testing::StartedProgramTest;

TEST_F(StatusTest, RefreshRoundsHalvesToEvenAndKeepsToTheCountersRange) {
  const std::vector<std::pair<const char*, int>> cases = {
      {"2.5", 2}, {"3.5", 4}, {"abc", 0}, {" 7", 7}, {"9e9", 32767}, {"-9e9", -32768}};
  for (const auto& [text, count] : cases) {
    f.p().SetText("Interval_Time", text);
    RefreshClick(f.p());
    EXPECT_EQ(f.p().MonitorCountdown, count) << text;
  }
  f.p().form().Tick(f.p().form().Id("Timer1"));
  EXPECT_EQ(f.p().MonitorCountdown, -32768);
}

}  // namespace
}  // namespace ketra
