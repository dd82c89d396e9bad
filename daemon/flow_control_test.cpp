#include "daemon/flow_control.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ketra::vspd {
namespace {

constexpr std::uint8_t kXon = 0x11;
constexpr std::uint8_t kXoff = 0x13;

// Feeds the chunks in turn and records, after each, what passed and whether the relay is paused.
struct Step {
  std::vector<std::uint8_t> in;
  std::vector<std::uint8_t> passed;
  bool paused;
};

void Feed(FlowControl flow, const std::vector<Step>& steps, const char* what) {
  for (std::size_t i = 0; i < steps.size(); ++i) {
    std::vector<std::uint8_t> data = steps[i].in;
    const auto passed = flow.Filter(data);
    EXPECT_EQ(std::vector<std::uint8_t>(passed.begin(), passed.end()), steps[i].passed)
        << what << ", step " << i;
    EXPECT_EQ(flow.paused(), steps[i].paused) << what << ", step " << i;
  }
}

TEST(FlowControlTest, SoftwareFlowFollowsTheTerminal) {
  const FlowControl flow = FlowControl::Software(kXon, kXoff);
  Feed(flow,
       {
           {{'a', 'b'}, {'a', 'b'}, false},
           {{'c', kXoff, 'd'}, {'c', 'd'}, true},
           {{'e'}, {'e'}, true},  // data toward the pty still flows while paused
           {{kXon}, {}, false},
           {{kXoff, kXon}, {}, false},  // the last of them decides
           {{kXon, kXoff}, {}, true},
           {{kXoff}, {}, true},  // a repeated XOFF keeps it paused
           {{kXon, kXon}, {}, false},
           {{}, {}, false},
       },
       "XON 17, XOFF 19");
}

TEST(FlowControlTest, TheCharactersAreThePortsOwn) {
  // 'A' and 'B' as the port's XOFF and XON (the values a hardware-flow port keeps stored):
  // the usual control characters then pass as data.
  Feed(FlowControl::Software('B', 'A'),
       {
           {{kXoff, 'x', kXon}, {kXoff, 'x', kXon}, false},
           {{'A'}, {}, true},
           {{'z', 'B', 'y'}, {'z', 'y'}, false},
       },
       "XON B, XOFF A");
}

TEST(FlowControlTest, HardwareFlowPassesEveryByte) {
  Feed(FlowControl::Hardware(),
       {
           {{kXoff, 0, kXon, 'A', 'B', 255}, {kXoff, 0, kXon, 'A', 'B', 255}, false},
           {{kXoff}, {kXoff}, false},
       },
       "hardware");
}

}  // namespace
}  // namespace ketra::vspd
