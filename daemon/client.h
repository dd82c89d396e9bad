// The daemon's own client, for a shell: `status` shows every port of the running daemon (as a
// table, the JSON document, or Prometheus metrics), and
// `connect PORT` / `disconnect PORT` send the very record the panel's commands send, built from
// the port's stored settings in the hive, on the same device paths, and print the answer in the
// panel's words. Exit status: 0 for success or "already in that state" (Status 112, 113, 15,
// 0), 1 for any other answer or an unreachable daemon, 2 when the port has no usable settings.
// Holds nothing; single-threaded.
#ifndef KETRA_DAEMON_CLIENT_H_
#define KETRA_DAEMON_CLIENT_H_

#include <cstdint>
#include <ostream>
#include <string>

#include "daemon/daemon_config.h"
#include "platform/device/device.h"
#include "platform/registry/registry.h"

namespace ketra::vspd {

int RunStatus(const std::string& socket_path, StatusFormat format, std::ostream& out,
              std::ostream& err);

int RunPortCommand(registry::Registry& registry, device::DeviceIo& device, bool connect,
                   const std::string& port, std::ostream& out, std::ostream& err);

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_CLIENT_H_
