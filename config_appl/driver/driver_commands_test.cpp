#include "config_appl/driver/driver_commands.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "config_appl/app/test_started_program.h"
#include "config_appl/port/driver_record.h"
#include "platform/runtime/strings.h"

namespace ketra {
namespace {

using device::DeviceCall;
using forms::MsgBoxStyle;
using testing::Box;
using DriverCommandTest = testing::StartedProgramTest;

TEST(VspCommand, RoundsHalvesToEvenAndWrapsNothing) {
  PortRecord row{0, "COM5", "x", "-1", "2.5", "0", 66, 65};
  VspCommand c = CommandFromRow(row);
  EXPECT_EQ(c.RemoteIP, 0xFFFFFFFFu);
  EXPECT_EQ(c.RemotePort, -1);
  EXPECT_EQ(c.LocalPort, 2);
  row.RemotePort = "1.5";
  EXPECT_EQ(CommandFromRow(row).RemotePort, 2);
  row.RemotePort = "40000";
  EXPECT_ANY_THROW(CommandFromRow(row));
}

// A connect's save, its calls in order and its record are checked end to end: by the driver
// commands session and by the daemon's run, whose later connect relays on the saved settings.
TEST_F(DriverCommandTest, DisconnectSendsTheRowNotTheForm) {
  f.p().SetText("TXT_LOCPORT", "4000");
  f.p().SetText("TXT_UDP", "");
  DisconnectClick(f.p());
  ASSERT_EQ(f.calls.size(), 3u);
  EXPECT_EQ(f.calls[0].path, "\\\\.\\COM3\\p");
  EXPECT_EQ(f.calls[1].code, device::kIoctlVspDisconnect);
  EXPECT_EQ(runtime::HexUpper(f.calls[1].in), "C0A80123BB0BB80B00414200");
  EXPECT_EQ(f.Stored("COM3", "LOCALPORT"), "3000");
  EXPECT_EQ(f.TakeBoxes(),
            (std::vector<Box>{{"Already in the Disconnected state", MsgBoxStyle::kInformation}}));
}

TEST_F(DriverCommandTest, ARowNumberBeyondItsFieldStopsBeforeTheDevice) {
  f.row(0).RemotePort = "9e9";
  DisconnectClick(f.p());
  EXPECT_TRUE(f.calls.empty());
  EXPECT_EQ(f.TakeBoxes(),
            (std::vector<Box>{{"Unable to Disconnect, Please check the configuration parameters",
                               MsgBoxStyle::kCritical}}));
}

}  // namespace
}  // namespace ketra
