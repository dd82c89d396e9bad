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

// The session scripts compare every other kind's dump, the device calls, the message boxes, the
// refusals and the errors as JSON values; no script dumps these three.
TEST(JsonDump, KindsNoScriptDumps) {
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
  for (const auto& [control, expected] : cases) {
    EXPECT_EQ(ControlJson(control), Json::parse(expected)) << expected;
  }
}

}  // namespace
}  // namespace ketra::session
