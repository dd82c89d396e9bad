#include "platform/device/vspd_socket_path.h"

#include <cstdlib>

#include <unistd.h>

namespace ketra::device {

std::string DefaultVspdSocketPath() {
  if (const char* explicit_path = std::getenv("KETRA_VSPD_SOCKET");
      explicit_path != nullptr && *explicit_path != '\0') {
    return explicit_path;
  }
  if (const char* runtime_dir = std::getenv("XDG_RUNTIME_DIR");
      runtime_dir != nullptr && *runtime_dir != '\0') {
    return std::string(runtime_dir) + "/ketra-vspd.sock";
  }
  return "/tmp/ketra-vspd-" + std::to_string(::getuid()) + ".sock";
}

}  // namespace ketra::device
