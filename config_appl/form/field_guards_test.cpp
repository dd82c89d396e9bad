// The guards and option groups as a user meets them: through the engine's user actions on a
// started program. The numeric guard's keystrokes are the guards session script's.
#include "config_appl/form/field_guards.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "config_appl/app/test_started_program.h"

namespace ketra {
namespace {

using forms::MsgBoxStyle;
using forms::Refusal;
using testing::Box;

class GuardTest : public testing::StartedProgramTest {
 protected:
  forms::ControlId Id(std::string_view name) { return f.p().form().Id(name); }
  void Focus(std::string_view name) { f.p().form().Focus(Id(name)); }
};

TEST_F(GuardTest, DistinctnessGuardEmptiesTheFieldLeft) {
  f.p().SetValue("OPT_SWF", true);
  f.p().SetText("TXT_XON", "A");
  f.p().SetText("TXT_XOFF", "A");  // equal texts set by the program: nothing yet
  EXPECT_TRUE(f.TakeBoxes().empty());
  Focus("TXT_XOFF");
  Focus("TXT_XON");
  EXPECT_EQ(
      f.TakeBoxes(),
      (std::vector<Box>{{"Please select distinct values for XON and XOFF", MsgBoxStyle::kPlain}}));
  EXPECT_EQ(f.p().Text("TXT_XOFF"), "");
  EXPECT_EQ(f.p().Text("TXT_XON"), "A");
  // Two empty fields say nothing; "a" and "A" differ.
  f.p().SetText("TXT_XON", "");
  Focus("TXT_LOCPORT");
  f.p().SetText("TXT_XON", "a");
  f.p().SetText("TXT_XOFF", "A");
  Focus("TXT_XON");
  Focus("TXT_LOCPORT");
  EXPECT_TRUE(f.TakeBoxes().empty());
}

TEST_F(GuardTest, OptionGroupsSwitchTheirControls) {
  forms::Form& form = f.p().form();
  form.Click(Id("OPT_DSB"));
  EXPECT_FALSE(f.p().Ctl("TXT_LOCPORT").enabled);
  EXPECT_TRUE(f.p().Ctl("Label2").enabled);
  EXPECT_FALSE(f.p().Ctl("LBL_UDP").enabled);
  EXPECT_EQ(form.Click(Id("OPT_SWF")), Refusal::kDisabled);
  EXPECT_EQ(form.Reach(Id("TXT_UDP")), Refusal::kDisabled);
  form.Click(Id("OPT_ENB"));
  // Enable under hardware flow: the boxes come on, their labels stay off.
  EXPECT_TRUE(f.p().Ctl("TXT_XON").enabled);
  EXPECT_FALSE(f.p().Ctl("LBL_XON").enabled);
  form.Click(Id("OPT_SWF"));
  form.Click(Id("OPT_HWF"));
  EXPECT_FALSE(f.p().Ctl("TXT_XON").enabled);
  EXPECT_FALSE(f.p().Ctl("LBL_XOFF").enabled);
  EXPECT_TRUE(f.p().Ctl("OPT_ENB").enabled);
}

}  // namespace
}  // namespace ketra
