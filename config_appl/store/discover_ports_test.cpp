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

std::vector<std::string> Names(Program& p) {
  std::vector<std::string> names;
  for (int r = 0; r < p.decl().PortCount; ++r) names.push_back(p.decl().PortTable[r].PortName);
  return names;
}

// How a value's text is cut to a name is PortNameFromValueText's table below; an empty map is
// the no-ports session's, a map of more ports than the table holds the many_ports session's.
TEST(DiscoverPorts, GivesRowsInDeviceOrder) {
  struct Case {
    const char* what;
    std::vector<std::pair<int, std::string>> devices;
    std::vector<std::string> expected;
  };
  const Case cases[] = {
      // A missing device reads as the previous value's length in NULs, which names no port.
      {"gaps", {{0, "COM3"}, {1, "COM4"}, {5, "COM7"}}, {"COM3", "COM4", "COM7"}},
      {"last number only", {{9999, "COM9"}, {10000, "COM8"}}, {"COM9"}},
      {"order by device not name", {{0, "COM9"}, {1, "COM3"}}, {"COM9", "COM3"}},
      {"lower case and other devices use no row",
       {{0, "com5"}, {1, "LPT1"}, {2, "COM6"}},
       {"COM6"}},
      {"leading space is tested before trimming", {{0, " COM5"}, {1, "COM6"}}, {"COM6"}},
      {"any C counts, the NUL kept", {{0, "Cab"}}, {std::string("Cab\0", 4)}},
      {"same name twice", {{0, "COM12a"}, {1, "COM123"}}, {"COM12", "COM12"}},
  };
  for (const Case& c : cases) {
    ProgramFixture f;
    for (const auto& [device, data] : c.devices) f.AddDevice(device, data);
    DiscoverPorts(f.p());
    EXPECT_EQ(Names(f.p()), c.expected) << c.what;
    EXPECT_EQ(f.p().decl().PortCount, static_cast<int>(c.expected.size())) << c.what;
  }
}

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

TEST(DiscoverPorts, ValuesOfOtherTypesAreReadAsText) {
  ProgramFixture f;
  const char* map = "HARDWARE\\DEVICEMAP\\SERIALCOMM";
  registry::PutValue(*f.memory, map, "\\Device\\TesSerial0", registry::kRegBinary, "COM7");
  registry::PutValue(*f.memory, map, "\\Device\\TesSerial1", registry::kRegBinary, "");
  // A DWORD 0x43 reads as "C" and three NULs.
  registry::PutValue(*f.memory, map, "\\Device\\TesSerial2", registry::kRegDword,
                     std::string("C\0\0\0", 4));
  DiscoverPorts(f.p());
  ASSERT_EQ(f.p().decl().PortCount, 2);
  EXPECT_EQ(f.row(0).PortName, "COM7");
  EXPECT_EQ(f.row(1).PortName, std::string("C\0\0\0", 4));
}

}  // namespace
}  // namespace ketra
