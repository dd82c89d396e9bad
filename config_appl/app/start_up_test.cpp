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

// A stored local port of "0" is a setting: the start must not take it for a first run and
// overwrite the port's settings with the defaults.
TEST(FormLoad, AStoredLocalPortOfZeroIsNoFirstRun) {
  ProgramFixture f;
  f.AddPorts(1);
  ASSERT_TRUE(f.Start());
  f.Store("COM3", "FLOWCONTROL", "49");
  f.Store("COM3", "XON", "17");
  f.Store("COM3", "LOCALPORT", "0");
  f.NewProgram();
  ASSERT_TRUE(f.Start());
  EXPECT_EQ(f.Stored("COM3", "LOCALPORT"), "0");
  EXPECT_EQ(f.Stored("COM3", "XON"), "17");
}

TEST(FormLoad, AStoreThatCannotBeWrittenEndsTheStart) {
  ProgramFixture f;
  f.AddPorts(1);
  f.registry.FailWhen(registry::FaultyRegistry::Op::kCreate, "Tessaron");
  EXPECT_FALSE(f.Start());
  EXPECT_EQ(f.TakeBoxes(), (std::vector<Box>{{"Error opening or creating registry key -- aborting.",
                                              MsgBoxStyle::kCritical}}));
}

TEST(FormLoad, APortAddedSinceTheLastRunGetsDefaultsAndOthersKeepTheirs) {
  ProgramFixture f;
  f.AddPorts(2);
  ASSERT_TRUE(f.Start());
  f.Store("COM4", "LOCALPORT", "4444");
  f.AddDevice(2, "COM5");
  f.NewProgram();
  ASSERT_TRUE(f.Start());
  EXPECT_EQ(f.Stored("COM4", "LOCALPORT"), "4444");
  EXPECT_EQ(f.Stored("COM5", "LOCALPORT"), "3002");
  EXPECT_EQ(f.Stored("COM5", "REMOTEPORT"), "3005");
  EXPECT_EQ(f.Stored("COM5", "FLOWCONTROL"), "48");
}

TEST(FormLoad, APortMovedIntoRowZeroDoesNotCostTheOthersTheirSettings) {
  ProgramFixture f;
  f.AddDevice(0, "COM4");
  ASSERT_TRUE(f.Start());
  f.Store("COM4", "LOCALPORT", "4444");
  f.Store("COM4", "FLOWCONTROL", "49");
  f.Store("COM4", "XON", "17");
  // A new port now comes first in the device map.
  f.AddDevice(0, "COM2");
  f.AddDevice(1, "COM4");
  f.NewProgram();
  ASSERT_TRUE(f.Start());
  EXPECT_EQ(f.Stored("COM2", "LOCALPORT"), "3000");
  EXPECT_EQ(f.Stored("COM4", "LOCALPORT"), "4444");
  EXPECT_EQ(f.Stored("COM4", "FLOWCONTROL"), "49");
  EXPECT_EQ(f.Stored("COM4", "XON"), "17");
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
