#include <sys/stat.h>

#include <cstdlib>

#include "platform/registry/hive_location.h"
#include "platform/runtime/site_config.h"

namespace ketra::registry {
namespace {

std::string Variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

}  // namespace

std::string DefaultHivePath() {
  HiveSearch search;
  search.ketra_hive = Variable("KETRA_HIVE");
  search.xdg_state_home = Variable("XDG_STATE_HOME");
  search.home = Variable("HOME");
  if (search.ketra_hive.empty()) {
    search.site_hive = runtime::SiteConfigValue(runtime::SiteConfigPath(), "hive");
  }
  return ChooseHivePath(search, [](const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0;
  });
}

}  // namespace ketra::registry
