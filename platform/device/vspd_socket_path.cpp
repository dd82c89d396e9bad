#include "platform/device/vspd_socket_path.h"

namespace ketra::device {

std::string PrivateRuntimeDirectory(unsigned uid) {
  return "/tmp/ketra-vspd-" + std::to_string(uid);
}

std::string ChooseVspdSocketPath(const SocketSearch& search,
                                 const std::function<bool(const std::string&)>& exists) {
  if (!search.ketra_vspd_socket.empty()) return search.ketra_vspd_socket;
  const std::string own = !search.xdg_runtime_dir.empty()
                              ? search.xdg_runtime_dir + "/ketra-vspd.sock"
                              : PrivateRuntimeDirectory(search.uid) + "/ketra-vspd.sock";
  if (search.site_socket.empty() || exists(own)) return own;
  return search.site_socket;
}

}  // namespace ketra::device
