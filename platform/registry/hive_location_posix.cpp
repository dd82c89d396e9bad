#include "platform/registry/hive_location.h"
#include "platform/runtime/site_config.h"
#include "platform/runtime/user_places.h"

namespace ketra::registry {

std::string DefaultHivePath() {
  runtime::PlaceSearch search;
  search.variable = runtime::EnvironmentValue("KETRA_HIVE");
  search.own = runtime::UserStateDirectory(runtime::CurrentUserEnvironment()) + "/hive.db";
  if (search.variable.empty()) {
    search.site = runtime::SiteConfigValue(runtime::SiteConfigPath(), "hive");
  }
  return runtime::ChoosePlace(search, runtime::PlaceExists);
}

}  // namespace ketra::registry
