#include "config_appl/model/form_load.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "config_appl/model/program_fixture.h"

namespace ketra {
namespace {

using forms::MsgBoxStyle;
using testing::Box;
using testing::ProgramFixture;

TEST(FormLoad, LaterRunKeepsSoftwareFlowAndResetsHardwareFlowCharacters) {
  ProgramFixture f;
  f.AddPorts(2);
  ASSERT_TRUE(f.Start());
  f.Store("COM3", "FLOWCONTROL", "49");
  f.Store("COM3", "XON", "17");
  f.Store("COM3", "XOFF", "19");
  f.Store("COM3", "LOCALPORT", "0");
  f.Store("COM4", "XON", "1");
  f.Store("COM4", "XOFF", "2");
  f.NewProgram();
  ASSERT_TRUE(f.Start());
  Program& p = f.p();
  EXPECT_EQ(f.Stored("COM3", "XON"), "17");
  EXPECT_EQ(f.Stored("COM4", "XON"), "66");
  EXPECT_EQ(f.Stored("COM4", "XOFF"), "65");
  EXPECT_EQ(f.Stored("COM3", "LOCALPORT"), "0");  // "0" is a stored setting, not a first run
  EXPECT_EQ(p.Text("TXT_XON"), "&H11");
  EXPECT_TRUE(p.Value("OPT_SWF"));
  EXPECT_TRUE(p.Ctl("LBL_XON").enabled);
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

// A first run (row 0 has no key) with a later port whose key some hand or older version left
// incomplete: what the key holds is kept, what it lacks takes the row's default rather than the
// read's blanks (which would save a LOCALPORT of blanks and an address of 0.0.0.0).
TEST(FormLoad, FirstRunFillsTheValuesALaterPortsKeyLacksWithItsDefaults) {
  ProgramFixture f;
  f.AddPorts(3);
  f.Store("COM4", "FLOWCONTROL", "49");
  f.Store("COM4", "XON", "17");
  f.Store("COM5", "LOCALPORT", "5555");
  ASSERT_TRUE(f.Start());
  const std::pair<const char*, const char*> com4[] = {
      {"ENABLED", "49"},
      {"FLOWCONTROL", "49"},
      {"XON", "17"},
      {"XOFF", "65"},
      {"LOCALPORT", "3001"},
      {"REMOTEPORT", "3004"},
      {"REMOTEIP", "587311296"},
  };
  for (const auto& [name, text] : com4) EXPECT_EQ(f.Stored("COM4", name), text) << name;
  const std::pair<const char*, const char*> com5[] = {
      {"ENABLED", "49"},      {"FLOWCONTROL", "48"},     {"LOCALPORT", "5555"},
      {"REMOTEPORT", "3005"}, {"REMOTEIP", "587311296"},
  };
  for (const auto& [name, text] : com5) EXPECT_EQ(f.Stored("COM5", name), text) << name;
  EXPECT_EQ(f.row(1).RemoteIP, "192.168.1.35");
  EXPECT_EQ(f.row(2).LocalPort, "5555");
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
