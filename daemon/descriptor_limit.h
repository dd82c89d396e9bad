// The daemon's open-descriptor limit: each port takes three descriptors (pty master, UDP socket,
// inotify watch aside) and each control connection one, so a daemon with many ports raises its
// soft limit toward the hard one. Process-wide; call from the main thread at start.
#ifndef KETRA_DAEMON_DESCRIPTOR_LIMIT_H_
#define KETRA_DAEMON_DESCRIPTOR_LIMIT_H_

#include <cstddef>

namespace ketra::vspd {

void RaiseDescriptorLimit(std::size_t ports);

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_DESCRIPTOR_LIMIT_H_
