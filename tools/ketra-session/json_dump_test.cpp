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

// One control per way of the dump (a frame and a label go the button's way); the session
// scripts check the keys and values of the real form's controls, but not their order.
TEST(JsonDump, EachKindShowsItsPropertiesInTheProtocolsOrder) {
  struct Case {
    forms::Control control;
    std::string expected;
  };
  forms::Control box = Make("TXT_LOCPORT", forms::Kind::kTextBox);
  box.text = "3000";
  box.max_length = 4;
  box.sel_start = 1;
  box.sel_length = 2;
  forms::Control option = Make("OPT_ENB", forms::Kind::kOption);
  option.caption = "Enable";
  option.value = true;
  forms::Control combo = Make("CMB_PORT", forms::Kind::kComboBox);
  combo.items = {"COM3", "COM4"};
  combo.text = "COM3";
  combo.list_index = 0;
  forms::Control image = Make("VSP1Picture", forms::Kind::kImage);
  image.picture = forms::Picture::kGreen;
  forms::Control tab = Make("SSTab1", forms::Kind::kTab);
  tab.tabs = {"Config", "Status  "};
  tab.tab_shown = 1;
  forms::Control timer = Make("Timer1", forms::Kind::kTimer);
  timer.interval = 60000;
  forms::Control form = Make("Form1", forms::Kind::kForm);
  form.caption = "Ketra_v1.4.2";
  forms::Control button = Make("CMD_CONNECT", forms::Kind::kButton);
  button.caption = "&Connect";
  button.visible = false;
  const std::vector<Case> cases = {
      {box,
       R"({"control":"TXT_LOCPORT","kind":"textbox","text":"3000","enabled":true,"visible":true,"maxlength":4,"selstart":1,"sellength":2})"},
      {option,
       R"({"control":"OPT_ENB","kind":"option","caption":"Enable","value":true,"enabled":true,"visible":true})"},
      {combo,
       R"({"control":"CMB_PORT","kind":"combobox","text":"COM3","items":["COM3","COM4"],"index":0,"enabled":true,"visible":true})"},
      {image, R"({"control":"VSP1Picture","kind":"image","picture":"green"})"},
      {Make("Img", forms::Kind::kImage), R"({"control":"Img","kind":"image","picture":""})"},
      {tab,
       R"({"control":"SSTab1","kind":"tab","caption":"Status  ","enabled":true,"visible":true})"},
      {timer, R"({"control":"Timer1","kind":"timer","enabled":true,"interval":60000})"},
      {form, R"({"control":"Form1","kind":"form","caption":"Ketra_v1.4.2"})"},
      {button,
       R"({"control":"CMD_CONNECT","kind":"button","caption":"&Connect","enabled":true,"visible":false})"},
      {Make("UpDown1", forms::Kind::kUpDown),
       R"({"control":"UpDown1","kind":"updown","enabled":true,"visible":true})"},
  };
  for (const Case& c : cases) EXPECT_EQ(ControlJson(c.control).dump(), c.expected);
}

TEST(JsonDump, DeviceEventsSpellBytesAndCodesAsTheProtocolShows) {
  device::DeviceCall open;
  open.kind = device::DeviceCall::Kind::kOpen;
  open.path = "\\\\.\\COM5\\p";
  open.share = 3;
  open.disposition = 3;
  open.ok = true;
  EXPECT_EQ(
      DeviceEvent(open).dump(),
      R"({"event":"open","path":"\\\\.\\COM5\\p","access":0,"share":3,"disposition":3,"ok":true})");
  device::DeviceCall control;
  control.kind = device::DeviceCall::Kind::kControl;
  control.code = 0x80202004u;
  control.in = {0xC0, 0xA8, 0x01, 0x23, 0xBB, 0x0B, 0xB8, 0x0B, 0x01, 0x13, 0x11, 0x00};
  control.status = 113;
  EXPECT_EQ(
      DeviceEvent(control).dump(),
      R"({"event":"ioctl","code":"0x80202004","in":"C0A80123BB0BB80B01131100","status":113})");
  control.code = 0xABCu;
  EXPECT_EQ(DeviceEvent(control)["code"], "0x00000abc");
  device::DeviceCall close;
  close.kind = device::DeviceCall::Kind::kClose;
  EXPECT_EQ(DeviceEvent(close).dump(), R"({"event":"close"})");
}

TEST(JsonDump, ProgramTextsLeaveAsUtf8) {
  EXPECT_EQ(Text("caf\xE9").get<std::string>(), "caf\xC3\xA9");
  EXPECT_EQ(MsgBoxEvent("\x80", forms::MsgBoxStyle::kPlain).dump(),
            "{\"event\":\"msgbox\",\"style\":\"plain\",\"text\":\"\xE2\x82\xAC\"}");
  EXPECT_EQ(RefusedEvent("CMD_CONNECT", forms::Refusal::kHidden).dump(),
            R"({"event":"refused","control":"CMD_CONNECT","reason":"hidden"})");
  EXPECT_EQ(ErrorEvent(7, "unknown control TXT_FOO").dump(),
            R"({"event":"error","line":7,"message":"unknown control TXT_FOO"})");
}

}  // namespace
}  // namespace ketra::session
