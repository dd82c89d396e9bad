#include "config_appl/form/configure_from_the_file2.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "config_appl/model/program_fixture.h"

namespace ketra {
namespace {

using testing::ProgramFixture;

TEST(FlowCharDisplay, PrintableRangeIsShownAsTheCharacter) {
  const std::vector<std::pair<double, std::string>> cases = {
      {0, "&H0"}, {17, "&H11"}, {19, "&H13"},  {32, "&H20"},  {33, "!"},   {38, "&"},
      {65, "A"},  {126, "~"},   {127, "&H7F"}, {255, "&HFF"}, {65.4, "A"}, {126.4, "&H7E"}};
  for (const auto& [code, text] : cases) EXPECT_EQ(FlowCharDisplay(code), text) << code;
}

class ConfigureTest : public ::testing::Test {
 protected:
  void SetUp() override {
    f.AddPorts(2);
    ASSERT_TRUE(f.Start());
  }
  ProgramFixture f;
};

TEST_F(ConfigureTest, ShowsTheStoreAndReplacesTheRow) {
  f.Store("COM4", "ENABLED", "48");
  f.Store("COM4", "FLOWCONTROL", "49");
  f.Store("COM4", "XOFF", "19");
  f.Store("COM4", "XON", "17");
  f.Store("COM4", "REMOTEIP", "-939415360");
  f.Store("COM4", "LOCALPORT", "0");
  f.p().SetText("CMB_PORT", "COM4");  // a choice: the form read, then the store shown
  Program& p = f.p();
  EXPECT_TRUE(p.Value("OPT_DSB"));
  EXPECT_FALSE(p.Value("OPT_ENB"));
  EXPECT_TRUE(p.Value("OPT_SWF"));
  EXPECT_EQ(p.Text("TXT_XOFF"), "&H13");
  EXPECT_EQ(p.Text("TXT_XON"), "&H11");
  EXPECT_EQ(p.Text("TXT_IP1"), "192");
  EXPECT_EQ(p.Text("TXT_IP4"), "200");
  EXPECT_EQ(p.Text("TXT_LOCPORT"), "0");
  EXPECT_EQ(p.Text("TXT_UDP"), "3004");
  EXPECT_EQ(f.row(1).Enabled, 0);
  EXPECT_EQ(f.row(1).RemoteIP, "192.168.1.200");
  EXPECT_EQ(f.row(1).XON, 17);
  // Disabled first, then software flow: the flow boxes are switched on inside a disabled frame.
  EXPECT_FALSE(p.Ctl("FRM_FLWCNTRL").enabled);
  EXPECT_TRUE(p.Ctl("TXT_XON").enabled);
  EXPECT_TRUE(p.Ctl("LBL_XON").enabled);
}

TEST_F(ConfigureTest, HardwareFlowLeavesTheFlowFieldsAlone) {
  Program& p = f.p();
  p.SetValue("OPT_SWF", true);
  p.SetText("TXT_XON", "Q");
  p.SetText("TXT_XOFF", "R");
  p.SetText("CMB_PORT", "COM4");
  EXPECT_TRUE(p.Value("OPT_HWF"));
  EXPECT_EQ(p.Text("TXT_XON"), "Q");
  // The form's software flow bytes went into the new port's row and stay there.
  EXPECT_EQ(f.row(1).XON, 'Q');
  EXPECT_EQ(f.row(1).FlowControl, "0");
}

TEST_F(ConfigureTest, AnEmptyPortTextReadsNothing) {
  Program& p = f.p();
  p.SetText("TXT_LOCPORT", "1234");
  p.SetText("CMB_PORT", "");
  ConfigureFromTheFile2(p);
  EXPECT_EQ(p.Text("TXT_LOCPORT"), "1234");
}

TEST_F(ConfigureTest, NonNumericStoredTextIsEmptiedByTheGuardButKeptInTheRow) {
  f.Store("COM4", "LOCALPORT", "abc");
  f.p().SetText("CMB_PORT", "COM4");
  EXPECT_EQ(f.p().Text("TXT_LOCPORT"), "");
  EXPECT_EQ(f.row(1).LocalPort, "abc");
}

}  // namespace
}  // namespace ketra
