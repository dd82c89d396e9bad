#include "daemon/flow_control.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ketra::vspd {
namespace {

constexpr std::uint8_t kXon = 0x11;
constexpr std::uint8_t kXoff = 0x13;

// A chunk from the terminal, what of it passes to the pty, and whether the relay is paused after.
struct Step {
  std::vector<std::uint8_t> in;
  std::vector<std::uint8_t> passed;
  bool paused;
};

TEST(FlowControlTest, TheFlowCharactersAreTakenOutAndFollowed) {
  struct Case {
    const char* what;
    FlowControl flow;
    std::vector<Step> steps;
  };
  const std::vector<Case> cases = {
      {"XON 17, XOFF 19",
       FlowControl::Software(kXon, kXoff),
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
       }},
      // 'A' and 'B' as the port's XOFF and XON: the usual control characters then pass as data.
      {"XON B, XOFF A",
       FlowControl::Software('B', 'A'),
       {
           {{kXoff, 'x', kXon}, {kXoff, 'x', kXon}, false},
           {{'A'}, {}, true},
           {{'z', 'B', 'y'}, {'z', 'y'}, false},
       }},
      {"hardware",
       FlowControl::Hardware(),
       {{{kXoff, 0, kXon, 'A', 'B', 255}, {kXoff, 0, kXon, 'A', 'B', 255}, false}}},
  };
  for (Case c : cases) {
    for (std::size_t i = 0; i < c.steps.size(); ++i) {
      std::vector<std::uint8_t> data = c.steps[i].in;
      const auto passed = c.flow.Filter(data);
      EXPECT_EQ(std::vector<std::uint8_t>(passed.begin(), passed.end()), c.steps[i].passed)
          << c.what << ", step " << i;
      EXPECT_EQ(c.flow.paused(), c.steps[i].paused) << c.what << ", step " << i;
    }
  }
}

}  // namespace
}  // namespace ketra::vspd
