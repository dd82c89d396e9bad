// What the session scripts do not show: the kinds no script dumps, an image without a picture,
// a control code below 0x10000000 and the code page of the program's own texts.
#include "tools/ketra-session/json_dump.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ketra::session {
namespace {

forms::Control Make(std::string name, forms::Kind kind) {
  forms::Control control;
  control.name = std::move(name);
  control.kind = kind;
  return control;
}

TEST(JsonDump, KindsNoScriptShows) {
  forms::Control tab = Make("SSTab1", forms::Kind::kTab);
  tab.tabs = {"Config", "Status  "};
  tab.tab_shown = 1;
  const std::pair<forms::Control, std::string> cases[] = {
      {tab,
       R"({"control":"SSTab1","kind":"tab","caption":"Status  ","enabled":true,"visible":true})"},
      {Make("UpDown1", forms::Kind::kUpDown),
       R"({"control":"UpDown1","kind":"updown","enabled":true,"visible":true})"},
      {Make("Img", forms::Kind::kImage), R"({"control":"Img","kind":"image","picture":""})"},
  };
  for (const auto& [control, json] : cases) EXPECT_EQ(ControlJson(control).dump(), json);
}

TEST(JsonDump, CodesAreEightHexDigitsAndTextsLeaveAsUtf8) {
  device::DeviceCall control;
  control.kind = device::DeviceCall::Kind::kControl;
  control.code = 0xABCu;
  EXPECT_EQ(DeviceEvent(control)["code"], "0x00000abc");
  EXPECT_EQ(Text("caf\xE9").get<std::string>(), "caf\xC3\xA9");
  EXPECT_EQ(MsgBoxEvent("\x80", forms::MsgBoxStyle::kPlain).dump(),
            "{\"event\":\"msgbox\",\"style\":\"plain\",\"text\":\"\xE2\x82\xAC\"}");
}

}  // namespace
}  // namespace ketra::session
