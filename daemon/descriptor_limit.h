// The daemon's open-descriptor limit. Each port takes a pty master and, while connected, a UDP
// socket, plus a copy of either for a moment while it goes to the service manager's store; the
// control channel holds up to 64 connections, and libraries a few more. So a daemon of N ports
// wants 3 N + 256 descriptors, and raises its soft limit toward the hard one to get them. When
// even the hard limit is too low it says how many ports fit, rather than failing later with "Too
// many open files" at some port. Process-wide; call from the main thread at start.
#ifndef KETRA_DAEMON_DESCRIPTOR_LIMIT_H_
#define KETRA_DAEMON_DESCRIPTOR_LIMIT_H_

#include <cstddef>
#include <cstdint>

namespace ketra::vspd {

// Descriptors that `ports` ports want.
constexpr std::uint64_t DescriptorsFor(std::size_t ports) { return ports * 3 + 256; }

// Raises the soft limit to DescriptorsFor(ports) as far as the hard limit allows. Throws
// std::runtime_error, saying how many ports the hard limit holds, when it is too low.
void RaiseDescriptorLimit(std::size_t ports);

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_DESCRIPTOR_LIMIT_H_
