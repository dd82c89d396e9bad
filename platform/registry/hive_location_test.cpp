#include "platform/registry/hive_location.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>

namespace ketra::registry {
namespace {

// Sets or clears one environment variable for the length of a scope.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    if (value == nullptr) {
      unsetenv(name);
    } else {
      setenv(name, value, 1);
    }
  }
  ~ScopedEnv() {
    if (old_) {
      setenv(name_, old_->c_str(), 1);
    } else {
      unsetenv(name_);
    }
  }

 private:
  const char* name_;
  std::optional<std::string> old_;
};

TEST(HiveLocationTest, VariableThenStateHomeThenHome) {
  struct Case {
    const char* hive;
    const char* state;
    const char* home;
    const char* expected;
  };
  const Case cases[] = {
      {"/srv/hive.db", "/state", "/home/u", "/srv/hive.db"},
      {nullptr, "/state", "/home/u", "/state/ketra/hive.db"},
      {"", "/state", "/home/u", "/state/ketra/hive.db"},
      {nullptr, nullptr, "/home/u", "/home/u/.local/state/ketra/hive.db"},
      {nullptr, "relative", "/home/u", "/home/u/.local/state/ketra/hive.db"},
  };
  for (const auto& c : cases) {
    ScopedEnv hive("KETRA_HIVE", c.hive);
    ScopedEnv state("XDG_STATE_HOME", c.state);
    ScopedEnv home("HOME", c.home);
    EXPECT_EQ(DefaultHivePath(), c.expected);
  }
}

}  // namespace
}  // namespace ketra::registry
