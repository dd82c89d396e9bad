// The names under which the daemon keeps descriptors in the service manager's store. A pty
// master is "pty.COM3"; a connected port's socket carries in its name what the relay needs to
// resume: "udp.COM3.7F000001.0FA0.0BB8.1.11.13" (remote address, remote port, local port, flow,
// XON, XOFF, in hexadecimal). Port names hold no dot. Pure functions; thread-safe.
#ifndef KETRA_DAEMON_STORE_NAMES_H_
#define KETRA_DAEMON_STORE_NAMES_H_

#include <optional>
#include <string>
#include <utility>

#include "daemon/port_settings.h"

namespace ketra::vspd {

std::string StoredPtyName(const std::string& port);
std::string StoredSocketName(const std::string& port, const PortSettings& settings);
// The port and its settings; nullopt for a name that StoredSocketName did not make.
std::optional<std::pair<std::string, PortSettings>> ParseStoredSocketName(const std::string& name);

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_STORE_NAMES_H_
