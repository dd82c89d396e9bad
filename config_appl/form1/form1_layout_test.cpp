#include "config_appl/form1/form1_layout.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

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

}  // namespace
}  // namespace ketra
