// Where the driver daemon's control socket lives when no --socket says otherwise, by the rule of
// platform/runtime/user_places.h: $KETRA_VSPD_SOCKET; the user's own daemon's socket,
// <runtime directory>/ketra-vspd.sock ($XDG_RUNTIME_DIR, else ~/.local/state/ketra/run), when
// it exists; the machine's `socket`; else the user's own. A user's own daemon keeps its ports'
// links beside it, in <runtime directory>/ketra-vspd. The client and the daemon look in the
// same places.
#ifndef KETRA_PLATFORM_DEVICE_VSPD_SOCKET_PATH_H_
#define KETRA_PLATFORM_DEVICE_VSPD_SOCKET_PATH_H_

#include <string>

namespace ketra::device {

// The rule applied to this process's environment, the machine's file and the file system.
std::string DefaultVspdSocketPath();

// A user's own daemon's link directory.
std::string OwnLinkDirectory();

}  // namespace ketra::device

#endif  // KETRA_PLATFORM_DEVICE_VSPD_SOCKET_PATH_H_
