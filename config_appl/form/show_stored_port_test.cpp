#include "config_appl/form/show_stored_port.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "config_appl/app/program_fixture.h"

namespace ketra {
namespace {

TEST(FlowCharDisplay, PrintableRangeIsShownAsTheCharacter) {
  const std::vector<std::pair<double, std::string>> cases = {
      {0, "&H0"}, {17, "&H11"}, {19, "&H13"},  {32, "&H20"},  {33, "!"},   {38, "&"},
      {65, "A"},  {126, "~"},   {127, "&H7F"}, {255, "&HFF"}, {65.4, "A"}, {126.4, "&H7E"}};
  for (const auto& [code, text] : cases) EXPECT_EQ(FlowCharDisplay(code), text) << code;
}

// That a call with no port named shows nothing is the port_fields session's; a store changed
// behind the running program's back no session can make.
TEST(ShowStoredPort, NonNumericStoredTextIsEmptiedByTheGuardButKeptInTheRow) {
  testing::ProgramFixture f;
  f.AddPorts(2);
  ASSERT_TRUE(f.Start());
  f.Store("COM4", "LOCALPORT", "abc");
  f.p().SetText("CMB_PORT", "COM4");
  EXPECT_EQ(f.p().Text("TXT_LOCPORT"), "");
  EXPECT_EQ(f.row(1).LocalPort, "abc");
}

}  // namespace
}  // namespace ketra
