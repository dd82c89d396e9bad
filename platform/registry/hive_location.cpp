#include "platform/registry/hive_location.h"

#include <cstdlib>
#include <string_view>

namespace ketra::registry {
namespace {

std::string_view Variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string_view() : std::string_view(value);
}

std::string Join(std::string_view base, std::string_view tail) {
  std::string path;
  path.reserve(base.size() + tail.size());
  path.append(base).append(tail);
  return path;
}

}  // namespace

std::string DefaultHivePath() {
  if (std::string_view hive = Variable("KETRA_HIVE"); !hive.empty()) return std::string(hive);
  // XDG: a relative XDG_STATE_HOME is invalid and must be ignored.
  if (std::string_view state = Variable("XDG_STATE_HOME"); !state.empty() && state[0] == '/') {
    return Join(state, "/ketra/hive.db");
  }
  std::string_view home = Variable("HOME");
  return Join(home.empty() ? std::string_view(".") : home, "/.local/state/ketra/hive.db");
}

}  // namespace ketra::registry
