#include "config_appl/driver/driver_commands.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "config_appl/driver/vsp_command.h"
#include "config_appl/model/program_fixture.h"

namespace ketra {
namespace {

using device::DeviceCall;
using forms::MsgBoxStyle;
using testing::Box;
using testing::ProgramFixture;

std::string Hex(const std::vector<std::uint8_t>& bytes) {
  std::string out;
  char buf[3];
  for (std::uint8_t b : bytes) {
    std::snprintf(buf, sizeof buf, "%02X", b);
    out += buf;
  }
  return out;
}

class DriverCommandTest : public ::testing::Test {
 protected:
  void SetUp() override {
    f.AddPorts(2);
    ASSERT_TRUE(f.Start());
    f.TakeBoxes();
    f.calls.clear();
  }
  ProgramFixture f;
};

// The record read back field by field, as the driver reads it.
VspCommand DecodeVspCommand(const device::Record& b) {
  VspCommand c;
  c.RemoteIP = static_cast<std::uint32_t>(b[0]) | static_cast<std::uint32_t>(b[1]) << 8 |
               static_cast<std::uint32_t>(b[2]) << 16 | static_cast<std::uint32_t>(b[3]) << 24;
  c.RemotePort = static_cast<std::int16_t>(b[4] | b[5] << 8);
  c.LocalPort = static_cast<std::int16_t>(b[6] | b[7] << 8);
  c.FlowControl = b[8];
  c.XOFF = b[9];
  c.XON = b[10];
  c.Status = b[11];
  return c;
}

TEST(VspCommand, EncodesTheDocumentedExample) {
  PortRecord row{-1, "COM5", "192.168.1.35", "3003", "3000", "1", 17, 19};
  const device::Record bytes = EncodeVspCommand(CommandFromRow(row));
  EXPECT_EQ(Hex({bytes.begin(), bytes.end()}), "C0A80123BB0BB80B01131100");
  const VspCommand back = DecodeVspCommand(bytes);
  EXPECT_EQ(back.RemotePort, 3003);
  EXPECT_EQ(back.LocalPort, 3000);
  EXPECT_EQ(back.XON, 17);
}

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

TEST_F(DriverCommandTest, ConnectSavesOpensCallsAndClosesInOrder) {
  f.p().SetText("TXT_LOCPORT", "4000");
  CMD_CONNECT_Click(f.p());
  EXPECT_EQ(f.Stored("COM3", "LOCALPORT"), "4000");
  ASSERT_EQ(f.calls.size(), 3u);
  EXPECT_EQ(f.calls[0].kind, DeviceCall::Kind::kOpen);
  EXPECT_EQ(f.calls[1].code, device::kIoctlVspConnect);
  EXPECT_EQ(Hex(f.calls[1].in), "C0A80123BB0BA00F00414200");
  EXPECT_EQ(f.calls[1].status, 112);
  EXPECT_EQ(f.calls[2].kind, DeviceCall::Kind::kClose);
  EXPECT_EQ(f.TakeBoxes(), (std::vector<Box>{{"Connect Successful", MsgBoxStyle::kInformation}}));
}

TEST_F(DriverCommandTest, DisconnectSendsTheRowNotTheForm) {
  f.p().SetText("TXT_LOCPORT", "4000");
  f.p().SetText("TXT_UDP", "");
  CMD_DISCONNECT_Click(f.p());
  ASSERT_EQ(f.calls.size(), 3u);
  EXPECT_EQ(f.calls[0].path, "\\\\.\\COM3\\p");
  EXPECT_EQ(f.calls[1].code, device::kIoctlVspDisconnect);
  EXPECT_EQ(Hex(f.calls[1].in), "C0A80123BB0BB80B00414200");
  EXPECT_EQ(f.Stored("COM3", "LOCALPORT"), "3000");
  EXPECT_EQ(f.TakeBoxes(),
            (std::vector<Box>{{"Already in the Disconnected state", MsgBoxStyle::kInformation}}));
}

TEST_F(DriverCommandTest, ARowNumberBeyondItsFieldStopsBeforeTheDevice) {
  f.row(0).RemotePort = "9e9";
  CMD_DISCONNECT_Click(f.p());
  EXPECT_TRUE(f.calls.empty());
  EXPECT_EQ(f.TakeBoxes(),
            (std::vector<Box>{{"Unable to Disconnect, Please check the configuration parameters",
                               MsgBoxStyle::kCritical}}));
}

}  // namespace
}  // namespace ketra
