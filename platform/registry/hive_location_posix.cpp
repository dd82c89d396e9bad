#include <sys/stat.h>

#include "platform/registry/hive_location.h"
#include "platform/runtime/site_config.h"

namespace ketra::registry {

std::string DefaultHivePath() {
  HiveSearch search;
  search.ketra_hive = runtime::EnvironmentValue("KETRA_HIVE");
  search.xdg_state_home = runtime::EnvironmentValue("XDG_STATE_HOME");
  search.home = runtime::EnvironmentValue("HOME");
  if (search.ketra_hive.empty()) {
    search.site_hive = runtime::SiteConfigValue(runtime::SiteConfigPath(), "hive");
  }
  return ChooseHivePath(search, [](const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0;
  });
}

}  // namespace ketra::registry
