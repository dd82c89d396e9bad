#include "platform/device/vspd_socket_path.h"
#include "platform/runtime/site_config.h"
#include "platform/runtime/user_places.h"

namespace ketra::device {

std::string DefaultVspdSocketPath() {
  runtime::PlaceSearch search;
  search.variable = runtime::EnvironmentValue("KETRA_VSPD_SOCKET");
  search.own =
      runtime::UserRuntimeDirectory(runtime::CurrentUserEnvironment()) + "/ketra-vspd.sock";
  if (search.variable.empty()) {
    search.site = runtime::SiteConfigValue(runtime::SiteConfigPath(), "socket");
  }
  return runtime::ChoosePlace(search, runtime::PlaceExists);
}

std::string OwnLinkDirectory() {
  return runtime::UserRuntimeDirectory(runtime::CurrentUserEnvironment()) + "/ketra-vspd";
}

}  // namespace ketra::device
