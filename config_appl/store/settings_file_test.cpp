#include "config_appl/store/settings_file.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace ketra {
namespace {

// The read of the file itself (blocks found by name, fields by position, failing statements
// passed over, the later block, the end of the file inside a block, no file) is the
// settings_file, settings_file_sections and device_order sessions', on the program's own
// directory; here how a section's line names its port.
TEST(SectionName, DependsOnTheLinesLength) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"[COM3]", "COM3"},  {"[COM10]", "COM10"}, {"[COM1]xyz", "COM1"},
      {"[COM1", "COM1"},   {"COM3", "COM3"},     {"", ""},
      {"abcdefgh", "bcde"}};
  for (const auto& [line, name] : cases) EXPECT_EQ(SectionName(line), name) << line;
}

}  // namespace
}  // namespace ketra
