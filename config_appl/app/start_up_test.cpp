#include "config_appl/app/start_up.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "config_appl/app/program_fixture.h"

namespace ketra {
namespace {

using forms::MsgBoxStyle;
using testing::Box;
using testing::ProgramFixture;

// Which ports a start gives the defaults and which keep their settings (a later run with a
// port added, a first run with a port moved into row zero, a stored local port of "0") is the
// sessions'; here a store that fails and a name the sessions cannot give on every platform.
TEST(FormLoad, AStoreThatCannotBeWrittenEndsTheStart) {
  ProgramFixture f;
  f.AddPorts(1);
  f.registry.FailWhen(registry::FaultyRegistry::Op::kCreate, "Tessaron");
  EXPECT_FALSE(f.Start());
  EXPECT_EQ(f.TakeBoxes(), (std::vector<Box>{{"Error opening or creating registry key -- aborting.",
                                              MsgBoxStyle::kCritical}}));
}

// A device map value of COM and a backslash names a port of that name; its key path then ends in
// a backslash, which the store takes as the key COM, so the start goes on past the save.
TEST(FormLoad, APortNameEndingInABackslashIsStoredUnderTheKeyWithoutIt) {
  ProgramFixture f;
  f.AddDevice(0, "COM\\");
  ASSERT_TRUE(f.Start());
  EXPECT_TRUE(f.TakeBoxes().empty());
  EXPECT_EQ(f.row(0).PortName, "COM\\");
  EXPECT_EQ(f.Stored("COM", "LOCALPORT"), "3000");
  EXPECT_EQ(f.Stored("COM", "PORTNAME"), "COM\\");
}

}  // namespace
}  // namespace ketra
