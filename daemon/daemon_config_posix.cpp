#include <unistd.h>

#include <cstdlib>

#include "daemon/daemon_config.h"
#include "platform/device/vspd_socket_path.h"

namespace ketra::vspd {

std::string DefaultLinkDirectory() {
  if (const char* runtime = std::getenv("XDG_RUNTIME_DIR"); runtime != nullptr && *runtime) {
    return std::string(runtime) + "/ketra-vspd";
  }
  return device::PrivateRuntimeDirectory(::getuid());
}

}  // namespace ketra::vspd
