// What the daemon makes of the 12-byte record of a connect command, and its answer (the Status
// values are the driver contract's, platform/device/driver_contract.h). The record is read as the
// driver's side of the contract: remote address at offset 0 (first octet first), remote and local
// port as 16-bit little-endian values taken unsigned (the panel's -1 is port 65535), flow control 0
// hardware or 1 software, XOFF, XON. Pure functions; thread-safe.
#ifndef KETRA_DAEMON_PORT_SETTINGS_H_
#define KETRA_DAEMON_PORT_SETTINGS_H_

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/device/driver_contract.h"
#include "platform/net/udp_socket.h"

namespace ketra::vspd {

using device::Record;

struct PortSettings {
  net::Endpoint remote;
  std::uint16_t local_port = 0;
  bool software_flow = false;
  std::uint8_t xon = 0;
  std::uint8_t xoff = 0;

  friend bool operator==(const PortSettings&, const PortSettings&) = default;
};

// nullopt, with *problem saying why, for settings no relay can run on: remote address 0.0.0.0 or
// 255.255.255.255 (the panel's unreadable address), a port 0, a flow control other than 0 or 1,
// software flow with XON equal to XOFF.
std::optional<PortSettings> SettingsFromRecord(const Record& record, std::string* problem);

// The record with `status` in its last byte, the answer to a command.
Record Answer(const Record& input, std::uint8_t status);

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_PORT_SETTINGS_H_
