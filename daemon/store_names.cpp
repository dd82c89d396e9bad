#include "daemon/store_names.h"

#include <cstdio>

namespace ketra::vspd {

std::string StoredPtyName(const std::string& port) { return "pty." + port; }

std::string StoredSocketName(const std::string& port, const PortSettings& settings) {
  char fields[64];
  std::snprintf(fields, sizeof fields, "%08X.%04X.%04X.%u.%02X.%02X", settings.remote.address,
                settings.remote.port, settings.local_port, settings.software_flow ? 1u : 0u,
                settings.xon, settings.xoff);
  return "udp." + port + "." + fields;
}

std::optional<std::pair<std::string, PortSettings>> ParseStoredSocketName(const std::string& name) {
  char port[64] = {};
  unsigned address = 0, remote = 0, local = 0, flow = 0, xon = 0, xoff = 0;
  if (std::sscanf(name.c_str(), "udp.%63[A-Za-z0-9_-].%8X.%4X.%4X.%u.%2X.%2X", port, &address,
                  &remote, &local, &flow, &xon, &xoff) != 7 ||
      flow > 1) {
    return std::nullopt;
  }
  PortSettings settings{{address, static_cast<std::uint16_t>(remote)},
                        static_cast<std::uint16_t>(local),
                        flow == 1,
                        static_cast<std::uint8_t>(xon),
                        static_cast<std::uint8_t>(xoff)};
  // Only the one spelling StoredSocketName makes: a name that reads the same numbers another
  // way was not ours.
  if (StoredSocketName(port, settings) != name) return std::nullopt;
  return std::make_pair(std::string(port), settings);
}

}  // namespace ketra::vspd
