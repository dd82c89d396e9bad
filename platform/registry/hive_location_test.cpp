#include "platform/registry/hive_location.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace ketra::registry {
namespace {

TEST(HiveLocationTest, VariableThenOwnHiveThenSystemHive) {
  struct Case {
    HiveSearch search;
    std::set<std::string> existing;
    const char* expected;
  };
  const Case cases[] = {
      {{"/srv/hive.db", "/state", "/home/u", "/var/lib/ketra/hive.db"}, {}, "/srv/hive.db"},
      {{"", "/state", "/home/u", ""}, {}, "/state/ketra/hive.db"},
      {{"", "", "/home/u", ""}, {}, "/home/u/.local/state/ketra/hive.db"},
      {{"", "relative", "/home/u", ""}, {}, "/home/u/.local/state/ketra/hive.db"},
      {{"", "", "", ""}, {}, "./.local/state/ketra/hive.db"},
      // The system's hive serves a user without one; a user's own hive keeps serving them.
      {{"", "/state", "/home/u", "/var/lib/ketra/hive.db"}, {}, "/var/lib/ketra/hive.db"},
      {{"", "/state", "/home/u", "/var/lib/ketra/hive.db"},
       {"/state/ketra/hive.db"},
       "/state/ketra/hive.db"},
      {{"", "", "/home/u", "/var/lib/ketra/hive.db"},
       {"/home/u/.local/state/ketra/hive.db"},
       "/home/u/.local/state/ketra/hive.db"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ChooseHivePath(c.search,
                             [&](const std::string& path) { return c.existing.count(path) > 0; }),
              c.expected);
  }
}

}  // namespace
}  // namespace ketra::registry
