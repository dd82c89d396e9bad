// Where the driver daemon's control socket lives when nobody says otherwise:
// $KETRA_VSPD_SOCKET if set and not empty, else $XDG_RUNTIME_DIR/ketra-vspd.sock, else
// /tmp/ketra-vspd-<uid>.sock. Reads the environment; thread-safe as far as getenv is.
#ifndef KETRA_PLATFORM_DEVICE_VSPD_SOCKET_PATH_H_
#define KETRA_PLATFORM_DEVICE_VSPD_SOCKET_PATH_H_

#include <string>

namespace ketra::device {

std::string DefaultVspdSocketPath();

}  // namespace ketra::device

#endif  // KETRA_PLATFORM_DEVICE_VSPD_SOCKET_PATH_H_
