#include "daemon/daemon_config.h"
#include "platform/device/vspd_socket_path.h"

namespace ketra::vspd {

std::string DefaultLinkDirectory() { return device::OwnLinkDirectory(); }

}  // namespace ketra::vspd
