#include "platform/registry/hive_location.h"

namespace ketra::registry {

std::string ChooseHivePath(const HiveSearch& search,
                           const std::function<bool(const std::string&)>& exists) {
  if (!search.ketra_hive.empty()) return search.ketra_hive;
  // XDG: a relative XDG_STATE_HOME is invalid and must be ignored.
  const std::string own =
      !search.xdg_state_home.empty() && search.xdg_state_home[0] == '/'
          ? search.xdg_state_home + "/ketra/hive.db"
          : (search.home.empty() ? std::string(".") : search.home) + "/.local/state/ketra/hive.db";
  if (search.site_hive.empty() || exists(own)) return own;
  return search.site_hive;
}

}  // namespace ketra::registry
