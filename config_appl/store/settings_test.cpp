// The save and the load of every port's settings, and their round trip.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "config_appl/app/program_fixture.h"
#include "config_appl/model/default_settings.h"
#include "config_appl/port/address.h"
#include "config_appl/port/port_record.h"
#include "config_appl/port/stored_port.h"
#include "config_appl/store/discover_ports.h"
#include "config_appl/store/registry_value.h"
#include "config_appl/store/settings_load.h"
#include "config_appl/store/settings_save.h"
#include "platform/registry/sqlite_hive.h"
#include "platform/registry/test_killed_writer.h"
#include "platform/runtime/test_temp_dir.h"

namespace ketra {
namespace {

using testing::Box;
using testing::ProgramFixture;

// Discovery and the start-up's presets, without the form.
void Discover(ProgramFixture& f, int ports) {
  f.AddPorts(ports);
  DiscoverPorts(f.p());
  Declarations& d = f.p().decl();
  d.LastPort = static_cast<std::int16_t>(d.PortCount - 1);
  for (int r = 0; r <= d.LastPort; ++r) SetStartupFlow(d.PortTable[r]);
}

// The stored forms of what a save writes (a switch as 49 or 48, " 1" as 48, the bytes 0 and 255,
// an empty port, an address read as one number) are the settings_file session's; here
// the texts' conversions.
struct StoredForm {
  const char* field_text;
  const char* stored;
};

TEST(SaveAllPorts, PortTextsAreStoredAsTheirLeadingNumber) {
  const std::vector<StoredForm> cases = {
      {"03000", "3000"}, {"", "0"}, {"12ab", "12"}, {"1.5", "1.5"}, {"9e15", "9E+15"}};
  for (const StoredForm& c : cases) {
    EXPECT_EQ(StoredPortNumber(c.field_text), c.stored) << c.field_text;
  }
}

TEST(SaveAllPorts, AddressesAreStoredAsSignedNumbers) {
  const std::vector<StoredForm> cases = {{"192.168.1.200", "-939415360"},
                                         {"255.255.255.255", "-1"},
                                         {"no address", "-1"},
                                         {"192.168.1.010", "134326464"}};
  for (const StoredForm& c : cases) EXPECT_EQ(StoredAddressText(c.field_text), c.stored);
}

TEST(SaveAllPorts, AKeyThatCannotBeCreatedKeepsWhatWasWrittenBeforeIt) {
  ProgramFixture f;
  Discover(f, 4);
  ApplyDefaultSettings(f.p());
  f.registry.FailWhen(registry::FaultyRegistry::Op::kCreate, "COM5");
  EXPECT_THROW(SaveAllPorts(f.p()), forms::ProgramEnded);
  EXPECT_EQ(f.TakeBoxes(), (std::vector<Box>{{"Error opening or creating registry key -- aborting.",
                                              forms::MsgBoxStyle::kCritical}}));
  EXPECT_EQ(f.Stored("COM3", "REMOTEIP"), "587311296");
  EXPECT_EQ(f.Stored("COM4", "REMOTEIP"), "587311296");
  EXPECT_EQ(f.Stored("COM5", "PORTNAME"), "<missing>");
  EXPECT_EQ(f.Stored("COM6", "PORTNAME"), "<missing>");
  EXPECT_FALSE(f.registry.InBatch());
}

// A save on a real hive file, killed at a moment of its own choosing: the store holds one
// whole save, the last one reported done or the one that was under way, never a mix.
TEST(SaveAllPorts, ASaveKilledAtAnyMomentLeavesTheStoreAsBeforeOrAfterIt) {
  constexpr int kPorts = 101;
  runtime::TestTempDir dir;
  const std::string hive = dir.File("hive.db");
  // Into the next save, which takes some milliseconds.
  const registry::KilledWriter writer =
      registry::KillWriterMidway(12, std::chrono::milliseconds(2), [&](const auto& report) {
        ProgramFixture f;
        auto file = registry::OpenSqliteHive(hive);
        Program program(Platform{*file, f.device, f.app, f.files, f.boxes});
        Declarations& d = program.decl();
        d.LastPort = kPorts - 1;
        for (int round = 1;; ++round) {
          const std::string text = std::to_string(round);
          for (int r = 0; r < kPorts; ++r) {
            d.PortTable[r] = {-1,  "COM" + std::to_string(r + 3),    "127.0.0.1", text, text,
                              "0", static_cast<std::uint8_t>(round), 65};
          }
          SaveAllPorts(program);
          report(round);
        }
      });
  EXPECT_TRUE(writer.killed);
  ASSERT_GE(writer.last, 12);

  auto file = registry::OpenSqliteHive(hive);
  std::string reg_value;
  const std::string first = ReadPortValue(*file, reg_value, "COM3", "LOCALPORT");
  const int round = std::stoi(first);
  EXPECT_TRUE(round == writer.last || round == writer.last + 1)
      << round << " after " << writer.last;
  int mixed = 0;
  for (int r = 0; r < kPorts; ++r) {
    const std::string port = "COM" + std::to_string(r + 3);
    for (const char* name : {"LOCALPORT", "REMOTEPORT"}) {
      if (ReadPortValue(*file, reg_value, port, name) != first) ++mixed;
    }
    if (ReadPortValue(*file, reg_value, port, "XON") != std::to_string(round % 256)) ++mixed;
  }
  EXPECT_EQ(mixed, 0);
}

// How stored switches read is the stored_switches session's, a load stopped by a stored byte
// out of range the failure session's.
TEST(LoadPortSettings, APortWithoutAKeyDoesNotTakeThePreviousPortsText) {
  ProgramFixture f;
  Discover(f, 3);
  ApplyDefaultSettings(f.p());
  f.row(0).RemotePort = "4000";
  f.row(2).LocalPort = "5555";
  SaveAllPorts(f.p());
  f.memory->DeleteTree(registry::kHKeyLocalMachine, "Software\\Tessaron\\VSP\\COM4");
  f.NewProgram();
  Discover(f, 0);
  LoadPortSettings(f.p());
  EXPECT_EQ(f.row(1).LocalPort, "");
  EXPECT_EQ(f.row(1).RemotePort, "");
  EXPECT_EQ(f.row(2).LocalPort, "5555");
}

}  // namespace
}  // namespace ketra
