#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include "platform/device/vspd_socket_path.h"
#include "platform/runtime/site_config.h"

namespace ketra::device {
namespace {

std::string Variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

}  // namespace

std::string DefaultVspdSocketPath() {
  SocketSearch search;
  search.ketra_vspd_socket = Variable("KETRA_VSPD_SOCKET");
  search.xdg_runtime_dir = Variable("XDG_RUNTIME_DIR");
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
