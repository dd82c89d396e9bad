#include "platform/runtime/user_places.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace ketra::runtime {
namespace {

// The hive and the socket are found by one rule; the user's own places never lie in /tmp.
TEST(UserPlacesTest, VariableThenOwnThenMachine) {
  struct Case {
    PlaceSearch search;
    std::set<std::string> existing;
    const char* expected;
  };
  const Case cases[] = {
      {{"/srv/hive.db", "/state/ketra/hive.db", "/var/lib/ketra/hive.db"}, {}, "/srv/hive.db"},
      {{"", "/state/ketra/hive.db", ""}, {}, "/state/ketra/hive.db"},
      // The machine's serves a user without one of their own; a user's own keeps serving them.
      {{"", "/run/user/5/ketra-vspd.sock", "/run/ketra/vspd.sock"}, {}, "/run/ketra/vspd.sock"},
      {{"", "/run/user/5/ketra-vspd.sock", "/run/ketra/vspd.sock"},
       {"/run/user/5/ketra-vspd.sock"},
       "/run/user/5/ketra-vspd.sock"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(
        ChoosePlace(c.search, [&](const std::string& path) { return c.existing.count(path) > 0; }),
        c.expected);
  }
}

TEST(UserPlacesTest, StateAndRuntimeDirectories) {
  struct Case {
    UserEnvironment environment;
    const char* state;
    const char* runtime;
  };
  const Case cases[] = {
      {{"/state", "/run/user/5", "/home/u"}, "/state/ketra", "/run/user/5"},
      // Relative XDG values are invalid and ignored; without XDG_RUNTIME_DIR the runtime
      // directory is the user's own, not a name in /tmp.
      {{"relative", "run", "/home/u"},
       "/home/u/.local/state/ketra",
       "/home/u/.local/state/ketra/run"},
      {{"", "", ""}, "./.local/state/ketra", "./.local/state/ketra/run"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(UserStateDirectory(c.environment), c.state);
    EXPECT_EQ(UserRuntimeDirectory(c.environment), c.runtime);
  }
}

}  // namespace
}  // namespace ketra::runtime
