// Where the driver daemon's control socket lives when no --socket says otherwise. The places,
// in order:
//   1. $KETRA_VSPD_SOCKET, when set and not empty;
//   2. the user's own daemon's socket, $XDG_RUNTIME_DIR/ketra-vspd.sock, or without
//      XDG_RUNTIME_DIR /tmp/ketra-vspd-<uid>/ketra-vspd.sock, when that socket exists;
//   3. the system's socket, `socket` in the machine's configuration file (/etc/ketra/ketra.conf),
//      when the file names one;
//   4. the user's own socket of step 2.
// The client and the daemon look in the same places.
#ifndef KETRA_PLATFORM_DEVICE_VSPD_SOCKET_PATH_H_
#define KETRA_PLATFORM_DEVICE_VSPD_SOCKET_PATH_H_

#include <functional>
#include <string>

namespace ketra::device {

struct SocketSearch {
  std::string ketra_vspd_socket;  // $KETRA_VSPD_SOCKET
  std::string xdg_runtime_dir;    // $XDG_RUNTIME_DIR
  unsigned uid = 0;               // the real user
  std::string site_socket;        // `socket` of the machine's configuration file
};

// A user's private directory for the daemon's files without XDG_RUNTIME_DIR.
std::string PrivateRuntimeDirectory(unsigned uid);

// The rule above; pure. `exists` says whether a file is there.
std::string ChooseVspdSocketPath(const SocketSearch& search,
                                 const std::function<bool(const std::string&)>& exists);

// The rule applied to this process's environment, the machine's file and the file system.
std::string DefaultVspdSocketPath();

}  // namespace ketra::device

#endif  // KETRA_PLATFORM_DEVICE_VSPD_SOCKET_PATH_H_
