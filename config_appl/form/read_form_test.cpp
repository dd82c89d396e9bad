#include "config_appl/form/read_form.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace ketra {
namespace {

// Which field refuses the form first, what goes into the row before the refusal and what an
// accepted form leaves there are the apply_fields session's; here the flow characters' texts.
TEST(FlowCharValue, FirstCharacterDecides) {
  const std::vector<std::pair<const char*, int>> cases = {
      {"A", 65},    {"17", 49},    {"&H11", 17},  {"&H13", 19}, {"&", 0},
      {"&H26", 38}, {"&HFF", 255}, {"\xFF", 255}, {"&HFFF", -1}};
  for (const auto& [text, value] : cases) {
    const std::optional<std::uint8_t> got = FlowCharValue(text);
    if (value < 0) {
      EXPECT_FALSE(got.has_value()) << text;
    } else {
      ASSERT_TRUE(got.has_value()) << text;
      EXPECT_EQ(*got, value) << text;
    }
  }
}

}  // namespace
}  // namespace ketra
