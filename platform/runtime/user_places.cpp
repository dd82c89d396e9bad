#include "platform/runtime/user_places.h"

#include "platform/runtime/site_config.h"

namespace ketra::runtime {
namespace {

// XDG: a relative value is invalid and must be ignored.
bool Absolute(const std::string& path) { return !path.empty() && path[0] == '/'; }

}  // namespace

std::string ChoosePlace(const PlaceSearch& search,
                        const std::function<bool(const std::string&)>& exists) {
  if (!search.variable.empty()) return search.variable;
  if (search.site.empty() || exists(search.own)) return search.own;
  return search.site;
}

std::string UserStateDirectory(const UserEnvironment& environment) {
  if (Absolute(environment.xdg_state_home)) return environment.xdg_state_home + "/ketra";
  return (environment.home.empty() ? std::string(".") : environment.home) + "/.local/state/ketra";
}

std::string UserRuntimeDirectory(const UserEnvironment& environment) {
  if (Absolute(environment.xdg_runtime_dir)) return environment.xdg_runtime_dir;
  return UserStateDirectory(environment) + "/run";
}

UserEnvironment CurrentUserEnvironment() {
  return {EnvironmentValue("XDG_STATE_HOME"), EnvironmentValue("XDG_RUNTIME_DIR"),
          EnvironmentValue("HOME")};
}

}  // namespace ketra::runtime
