#include "config_appl/form/read_form.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "config_appl/app/test_started_program.h"

namespace ketra {
namespace {

using forms::MsgBoxStyle;
using testing::Box;
using testing::ProgramFixture;
using ReadFormTest = testing::StartedProgramTest;

struct Refusal {
  const char* what;
  bool software;
  std::vector<std::pair<const char*, const char*>> fields;
  const char* message;
  bool flow_bytes_stored;
};

TEST_F(ReadFormTest, RefusesTheFirstEmptyFieldInItsOrder) {
  const std::vector<Refusal> cases = {
      {"local port", false, {{"TXT_LOCPORT", ""}, {"TXT_UDP", ""}}, "Local Port Invalid", false},
      {"address", false, {{"TXT_IP3", ""}, {"TXT_UDP", ""}}, "IP Address invalid", false},
      {"flow chars", true, {{"TXT_XON", ""}, {"TXT_UDP", ""}}, "XON or XOFF is Invalid", false},
      {"flow char too big", true, {{"TXT_XON", "&HFFF"}}, "XON or XOFF is Invalid", true},
      {"remote port, software", true, {{"TXT_UDP", ""}}, "Invalid Remote Port Address", true},
      {"remote port, hardware",
       false,
       {{"TXT_UDP", ""}, {"TXT_XON", ""}},
       "Invalid Remote Port Address",
       false},
  };
  for (const Refusal& c : cases) {
    ProgramFixture g;
    StartTwoPorts(g);
    Program& p = g.p();
    p.SetValue(c.software ? "OPT_SWF" : "OPT_HWF", true);
    p.SetText("TXT_XON", "B");
    p.SetText("TXT_XOFF", "&H13");
    p.SetValue("OPT_DSB", true);
    for (const auto& [field, text] : c.fields) p.SetText(field, text);
    EXPECT_FALSE(ReadForm(p)) << c.what;
    EXPECT_EQ(g.TakeBoxes(), (std::vector<Box>{{c.message, MsgBoxStyle::kPlain}})) << c.what;
    EXPECT_EQ(g.row(0).FlowControl, c.software ? "1" : "0") << c.what;
    EXPECT_EQ(g.row(0).Enabled, 0) << c.what;
    EXPECT_EQ(g.row(0).XOFF, c.flow_bytes_stored ? 19 : 65) << c.what;
    EXPECT_EQ(g.row(0).LocalPort, "3000") << c.what;  // as loaded, not from the form
  }
}

TEST_F(ReadFormTest, CopiesTheFormIntoTheNamedRow) {
  Program& p = f.p();
  p.SetValue("OPT_SWF", true);
  p.SetText("TXT_LOCPORT", "12 ");
  p.SetText("TXT_IP1", " 10");
  p.SetText("TXT_IP4", "7 ");
  p.SetText("TXT_UDP", "0099");
  p.SetText("TXT_XON", "17");  // the code of "1"
  p.SetText("TXT_XOFF", "&");
  EXPECT_TRUE(ReadForm(p));
  EXPECT_EQ(f.row(0).LocalPort, "12 ");
  EXPECT_EQ(f.row(0).RemoteIP, "10.168.1.7");
  EXPECT_EQ(f.row(0).RemotePort, "0099");
  EXPECT_EQ(f.row(0).XON, 49);
  EXPECT_EQ(f.row(0).XOFF, 0);
  EXPECT_EQ(f.row(0).FlowControl, "1");
  EXPECT_TRUE(f.TakeBoxes().empty());
}

TEST_F(ReadFormTest, EmptyPortListAndUnknownPort) {
  Program& p = f.p();
  p.SetText("CMB_PORT", "");
  EXPECT_FALSE(ReadForm(p));
  EXPECT_EQ(f.TakeBoxes(), (std::vector<Box>{{"Invalid serial port", MsgBoxStyle::kExclamation}}));
  p.SetText("CMB_PORT", "COM77");
  p.SetText("TXT_UDP", "");
  EXPECT_TRUE(ReadForm(p));
  EXPECT_TRUE(f.TakeBoxes().empty());
}

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
