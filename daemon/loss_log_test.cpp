#include "daemon/loss_log.h"

#include <gtest/gtest.h>

namespace ketra::vspd {
namespace {

using namespace std::chrono_literals;

TEST(LossLogTest, TheStartOfALossIsLoggedThenAtMostOncePerInterval) {
  LossLog log;
  PortCounters counters;
  const auto start = std::chrono::steady_clock::time_point() + 1h;
  struct Tick {
    std::chrono::seconds at;
    std::uint64_t dropped;
    std::uint64_t unheld;
    const char* line;  // the line expected, or null for none
  };
  const Tick ticks[] = {
      {0s, 0, 0, nullptr},
      {1s, 3, 0, "COM3: losing data: 3 datagrams dropped"},
      {2s, 5, 0, nullptr},  // still losing, within the interval
      {3s, 5, 0, nullptr},  // a quiet tick ends the loss
      {4s, 6, 0, nullptr},  // a new loss, yet too soon after the last line
      {11s, 9, 40, "COM3: still losing data: 6 datagrams dropped"},
      {12s, 9, 40, nullptr},
      {30s, 9, 41, "COM3: losing data: 1 bytes from the terminal while no program held"},
  };
  for (const Tick& tick : ticks) {
    counters.dropped_datagrams = tick.dropped;
    counters.unheld_bytes = tick.unheld;
    const auto line = log.Update("COM3", counters, start + tick.at);
    if (tick.line == nullptr) {
      EXPECT_FALSE(line.has_value()) << "at " << tick.at.count() << "s: " << line.value_or("");
    } else {
      ASSERT_TRUE(line.has_value()) << "at " << tick.at.count() << "s";
      EXPECT_EQ(line->rfind(tick.line, 0), 0u) << *line;
    }
  }
}

}  // namespace
}  // namespace ketra::vspd
