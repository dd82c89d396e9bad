#include "config_appl/form/form1_layout.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "platform/forms/form.h"

namespace ketra {
namespace {

using forms::ControlSpec;
using forms::Kind;

std::set<std::string> NamesWhere(bool (*test)(const ControlSpec&)) {
  std::set<std::string> names;
  for (const ControlSpec& row : Form1Layout()) {
    if (test(row)) names.emplace(row.name);
  }
  return names;
}

TEST(Form1Layout, RowsFollowTheLayoutTablesWithTheFormFirst) {
  const std::vector<std::string> expected = {
      "Form1",       "SSTab1",      "Frame2",      "Frame3",       "FRM_FLWCNTRL",   "FRM_REMOTE",
      "Command1",    "Command2",    "CMD_APPLY",   "CMD_CONNECT",  "CMD_DISCONNECT", "Label1",
      "CMB_PORT",    "Label2",      "TXT_LOCPORT", "OPT_ENB",      "OPT_DSB",        "OPT_HWF",
      "OPT_SWF",     "LBL_XON",     "TXT_XON",     "LBL_XOFF",     "TXT_XOFF",       "LBL_UDP",
      "TXT_UDP",     "LBL_IP",      "TXT_IP1",     "TXT_IP2",      "TXT_IP3",        "TXT_IP4",
      "TXT_IP",      "Label3",      "Frame1",      "Monitor",      "Interval_Time",  "UpDown1",
      "Command3",    "Label8",      "Frame4",      "Label9",       "Label10",        "Label11",
      "Label4",      "Label5",      "Label6",      "Label7",       "VSP1Picture",    "VSP2Picture",
      "VSP3Picture", "VSP4Picture", "Connected",   "Disconnected", "Notinstalled",   "Timer1"};
  std::vector<std::string> names;
  for (const ControlSpec& row : Form1Layout()) names.emplace_back(row.name);
  EXPECT_EQ(names, expected);

  const ControlSpec& form = Form1Layout().front();
  EXPECT_EQ(form.kind, Kind::kForm);
  EXPECT_EQ(form.caption, "Ketra_v1.4.2");
  EXPECT_EQ(form.container, "");
  EXPECT_EQ(form.tab_index, -1);
  EXPECT_EQ((std::vector<int>{form.left, form.top, form.width, form.height}),
            (std::vector<int>{4332, 1080, 6036, 8832}));
}

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

TEST(Form1Layout, StartStatesLimitsAndPictures) {
  EXPECT_EQ(NamesWhere([](const ControlSpec& r) { return !r.visible; }),
            (std::set<std::string>{"CMD_CONNECT", "CMD_DISCONNECT", "TXT_IP"}));
  EXPECT_EQ(NamesWhere([](const ControlSpec& r) { return !r.enabled; }),
            (std::set<std::string>{"LBL_XON", "LBL_XOFF", "TXT_XON", "TXT_XOFF"}));
  EXPECT_EQ(NamesWhere([](const ControlSpec& r) { return r.value; }),
            (std::set<std::string>{"OPT_ENB", "OPT_HWF"}));
  EXPECT_EQ(NamesWhere([](const ControlSpec& r) { return r.kind == Kind::kOption; }),
            (std::set<std::string>{"OPT_ENB", "OPT_DSB", "OPT_HWF", "OPT_SWF"}));
  EXPECT_EQ(NamesWhere([](const ControlSpec& r) { return r.centred; }),
            std::set<std::string>{"Label9"});

  // Every text box with its limit (0: none) and its default text.
  const std::map<std::string, std::pair<int, std::string>, std::less<>> boxes = {
      {"TXT_LOCPORT", {4, "3000"}}, {"TXT_XON", {4, "a"}},   {"TXT_XOFF", {4, "b"}},
      {"TXT_UDP", {4, "3003"}},     {"TXT_IP1", {3, "192"}}, {"TXT_IP2", {3, "168"}},
      {"TXT_IP3", {0, "1"}},        {"TXT_IP4", {0, "35"}},  {"TXT_IP", {0, ""}},
      {"Interval_Time", {4, "0"}}};
  std::map<std::string, std::pair<int, std::string>, std::less<>> found;
  for (const ControlSpec& row : Form1Layout()) {
    if (row.kind == Kind::kTextBox) {
      found.emplace(row.name, std::make_pair(row.max_length, std::string(row.caption)));
    } else {
      EXPECT_EQ(row.max_length, 0) << row.name;
    }
  }
  EXPECT_EQ(found, boxes);

  const std::map<std::string, forms::Picture, std::less<>> pictures = {
      {"VSP1Picture", forms::Picture::kGreen}, {"VSP2Picture", forms::Picture::kGrey},
      {"VSP3Picture", forms::Picture::kRed},   {"VSP4Picture", forms::Picture::kRed},
      {"Connected", forms::Picture::kGreen},   {"Disconnected", forms::Picture::kRed},
      {"Notinstalled", forms::Picture::kGrey}};
  for (const ControlSpec& row : Form1Layout()) {
    if (row.kind != Kind::kImage) continue;
    ASSERT_TRUE(pictures.contains(row.name)) << row.name;
    EXPECT_EQ(row.picture, pictures.find(row.name)->second) << row.name;
    EXPECT_EQ(row.width, 228);
    EXPECT_EQ(row.height, 264);
  }
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
  const forms::Control& tab = form.at("SSTab1");
  EXPECT_EQ(tab.tabs, (std::vector<std::string>{"Config", "Status  "}));
  EXPECT_EQ(form.at("Frame2").tab_page, 0);
  EXPECT_EQ(form.at("Frame1").tab_page, 1);
  EXPECT_EQ(form.at("Timer1").interval, 60000);
  EXPECT_TRUE(form.at("Timer1").enabled);
  EXPECT_EQ(form.at("CMB_PORT").text, "");
  EXPECT_EQ(form.at("CMB_PORT").list_index, -1);
  EXPECT_EQ(form.at("Interval_Time").text, "0");

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

TEST(Form1Layout, WhatAUserCannotReachAtStart) {
  Boxes boxes;
  forms::Form form(Form1Layout(), boxes);
  const std::map<std::string, forms::Refusal> reach = {
      {"CMD_CONNECT", forms::Refusal::kHidden},
      {"CMD_DISCONNECT", forms::Refusal::kHidden},
      {"TXT_IP", forms::Refusal::kHidden},
      {"TXT_XON", forms::Refusal::kDisabled},
      {"Interval_Time", forms::Refusal::kPageNotShown},
      {"Command3", forms::Refusal::kPageNotShown},
      {"CMD_APPLY", forms::Refusal::kNone},
      {"OPT_SWF", forms::Refusal::kNone}};
  for (const auto& [name, refusal] : reach) {
    EXPECT_EQ(form.Reach(form.Id(name)), refusal) << name;
  }
}

}  // namespace
}  // namespace ketra
