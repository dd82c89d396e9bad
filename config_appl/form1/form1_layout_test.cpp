#include "config_appl/form1/form1_layout.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "platform/forms/form.h"

namespace ketra {
namespace {

using forms::ControlSpec;
using forms::Kind;

TEST(Form1Layout, EveryContainerStandsBeforeWhatItHolds) {
  std::map<std::string, Kind, std::less<>> seen = {{"Form1", Kind::kForm}};
  for (const ControlSpec& row : Form1Layout().subspan(1)) {
    const auto container = seen.find(row.container);
    ASSERT_NE(container, seen.end()) << row.name << " in " << row.container;
    EXPECT_TRUE(container->second == Kind::kForm || container->second == Kind::kTab ||
                container->second == Kind::kFrame)
        << row.name;
    // Only the pages of the tab control say which page they fill.
    EXPECT_EQ(row.tab_page >= 0, container->second == Kind::kTab) << row.name;
    seen.emplace(row.name, row.kind);
  }
}

// The order they give, on both pages and with software flow, is the tab order session's.
TEST(Form1Layout, TabIndexesZeroToFortyFourAreEachUsedOnceAndImagesAndTheTimerHaveNone) {
  std::vector<int> indexes;
  for (const ControlSpec& row : Form1Layout()) {
    const bool none =
        row.kind == Kind::kImage || row.kind == Kind::kTimer || row.kind == Kind::kForm;
    EXPECT_EQ(row.tab_index < 0, none) << row.name;
    if (row.tab_index >= 0) indexes.push_back(row.tab_index);
  }
  std::sort(indexes.begin(), indexes.end());
  std::vector<int> expected(45);
  for (int i = 0; i < 45; ++i) expected[static_cast<size_t>(i)] = i;
  EXPECT_EQ(indexes, expected);
}

}  // namespace
}  // namespace ketra
