#include <sys/stat.h>
#include <unistd.h>

#include "platform/device/vspd_socket_path.h"
#include "platform/runtime/site_config.h"

namespace ketra::device {

std::string DefaultVspdSocketPath() {
  SocketSearch search;
  search.ketra_vspd_socket = runtime::EnvironmentValue("KETRA_VSPD_SOCKET");
  search.xdg_runtime_dir = runtime::EnvironmentValue("XDG_RUNTIME_DIR");
  search.uid = ::getuid();
  if (search.ketra_vspd_socket.empty()) {
    search.site_socket = runtime::SiteConfigValue(runtime::SiteConfigPath(), "socket");
  }
  return ChooseVspdSocketPath(search, [](const std::string& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0;
  });
}

}  // namespace ketra::device
