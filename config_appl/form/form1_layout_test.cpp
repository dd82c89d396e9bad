#include "config_appl/form/form1_layout.h"

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

class Boxes : public forms::MessageBoxService {
 public:
  void Show(std::string_view, forms::MsgBoxStyle) override {}
};

std::vector<std::string> WalkTabs(forms::Form& form) {
  std::vector<std::string> names;
  const forms::ControlId first = form.focus();
  do {
    form.Tab();
    names.push_back(form.at(form.focus()).name);
  } while (form.focus() != first && names.size() < 100);
  return names;
}

TEST(Form1Layout, TheFormOpensOnTheConfigPageWithTheFocusOnTheTabControl) {
  Boxes boxes;
  forms::Form form(Form1Layout(), boxes);
  form.Start();
  EXPECT_EQ(form.page(), 0);
  EXPECT_EQ(form.at(form.focus()).name, "SSTab1");
  EXPECT_EQ(WalkTabs(form),
            (std::vector<std::string>{"Command2", "Command1", "CMD_APPLY", "TXT_UDP", "TXT_IP1",
                                      "OPT_HWF", "OPT_ENB", "TXT_LOCPORT", "CMB_PORT", "TXT_IP2",
                                      "TXT_IP3", "TXT_IP4", "SSTab1"}));

  // Software flow control brings the XON and XOFF boxes into the walk.
  form.SetValue(form.Id("OPT_SWF"), true);
  form.SetEnabled(form.Id("TXT_XON"), true);
  form.SetEnabled(form.Id("TXT_XOFF"), true);
  const std::vector<std::string> walk = WalkTabs(form);
  const auto swf = std::find(walk.begin(), walk.end(), "OPT_SWF");
  ASSERT_NE(swf, walk.end());
  EXPECT_EQ(std::vector<std::string>(swf, swf + 3),
            (std::vector<std::string>{"OPT_SWF", "TXT_XON", "TXT_XOFF"}));

  form.ShowPage(1);
  EXPECT_EQ(WalkTabs(form),
            (std::vector<std::string>{"Interval_Time", "Command3", "UpDown1", "SSTab1"}));
}

}  // namespace
}  // namespace ketra
