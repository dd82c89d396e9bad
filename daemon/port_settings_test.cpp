#include "daemon/port_settings.h"

#include <vector>

#include <gtest/gtest.h>

namespace ketra::vspd {
namespace {

TEST(PortSettingsTest, RecordsTheDaemonAccepts) {
  struct Case {
    Record record;
    PortSettings expected;
  };
  const std::vector<Case> cases = {
      {{127, 0, 0, 1, 0xBB, 0x0B, 0xB8, 0x0B, 1, 0x13, 0x11, 0},
       {{0x7F000001u, 3003}, 3000, true, 0x11, 0x13}},
      // hardware flow keeps the bytes but does not care that they are equal
      {{127, 0, 0, 2, 0xFF, 0xFF, 0x01, 0x00, 0, 'A', 'A', 0},
       {{0x7F000002u, 65535}, 1, false, 'A', 'A'}},
  };
  for (const auto& c : cases) {
    const auto settings = SettingsFromRecord(c.record);
    ASSERT_TRUE(settings.ok()) << settings.status().message();
    EXPECT_EQ(*settings, c.expected);
  }
}

TEST(PortSettingsTest, RecordsNoRelayCanRunOn) {
  const std::vector<Record> records = {
      {0, 0, 0, 0, 0xBB, 0x0B, 0xB8, 0x0B, 1, 0x13, 0x11, 0},          // address 0
      {255, 255, 255, 255, 0xBB, 0x0B, 0xB8, 0x0B, 1, 0x13, 0x11, 0},  // unreadable address
      {127, 0, 0, 1, 0, 0, 0xB8, 0x0B, 1, 0x13, 0x11, 0},              // remote port 0
      {127, 0, 0, 1, 0xBB, 0x0B, 0, 0, 1, 0x13, 0x11, 0},              // local port 0
      {127, 0, 0, 1, 0xBB, 0x0B, 0xB8, 0x0B, 2, 0x13, 0x11, 0},        // flow control 2
      {127, 0, 0, 1, 0xBB, 0x0B, 0xB8, 0x0B, 1, 0x11, 0x11, 0},        // XON = XOFF
      {},                                                              // twelve zero bytes
  };
  for (const auto& record : records) {
    const auto settings = SettingsFromRecord(record);
    EXPECT_TRUE(settings.status().IsInvalidArgument());
    EXPECT_FALSE(settings.status().message().empty());
  }
}

}  // namespace
}  // namespace ketra::vspd
