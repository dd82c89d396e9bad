#include "config_appl/store/discover_ports.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "config_appl/app/program_fixture.h"
#include "platform/registry/test_registry.h"

namespace ketra {
namespace {

using testing::ProgramFixture;

TEST(PortNameFromValueText, CutsAtTheFifthCharacter) {
  using namespace std::string_literals;
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"COM5\0"s, "COM5"},   {"COM5", "COM5"},       {"COM5\0\0\0\0\0\0"s, "COM5"},
      {"COM12\0"s, "COM12"}, {"COM123\0"s, "COM12"}, {"COMXY\0"s, "COMX"},
      {"C  5 "s, "C  5"},    {"CO 1\0"s, "CO 1"},
  };
  for (const auto& [value, name] : cases) {
    EXPECT_EQ(PortNameFromValueText(value), name) << "value of " << value.size() << " bytes";
  }
}

// Which devices give rows and in which order, values of other types read as text, an empty map
// and one of more ports than the table holds are the device_order, no_ports and many_ports
// sessions'; here names that keep NULs, which a session's first run could not store as keys on
// every platform.
TEST(DiscoverPorts, AnyValueStartingWithACapitalCNamesAPortWithItsNuls) {
  ProgramFixture f;
  f.AddDevice(0, "Cab");
  // A DWORD 0x43 reads as "C" and three NULs.
  registry::PutValue(*f.memory, "HARDWARE\\DEVICEMAP\\SERIALCOMM", "\\Device\\TesSerial1",
                     registry::kRegDword, std::string("C\0\0\0", 4));
  DiscoverPorts(f.p());
  ASSERT_EQ(f.p().decl().PortCount, 2);
  EXPECT_EQ(f.row(0).PortName, std::string("Cab\0", 4));
  EXPECT_EQ(f.row(1).PortName, std::string("C\0\0\0", 4));
}

}  // namespace
}  // namespace ketra
