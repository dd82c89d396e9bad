// What the daemon makes of a connect command, whether it comes as the 12-byte record of a control
// call or straight from a port's stored row, and its answer (the Status values are the driver
// contract's, platform/device/driver_contract.h). The record's fields are read by the port core
// (config_appl/port/driver_record.h); the ports are taken unsigned (the panel's -1 is port 65535),
// the address turned to host order (config_appl/port/address.h). Pure functions; thread-safe.
#ifndef KETRA_DAEMON_PORT_SETTINGS_H_
#define KETRA_DAEMON_PORT_SETTINGS_H_

#include <array>
#include <cstdint>

#include "config_appl/port/driver_record.h"
#include "platform/device/driver_contract.h"
#include "platform/net/udp_socket.h"
#include "platform/runtime/status.h"

namespace ketra::vspd {

using device::Record;
using ketra::VspCommand;

struct PortSettings {
  net::Endpoint remote;
  std::uint16_t local_port = 0;
  bool software_flow = false;
  std::uint8_t xon = 0;
  std::uint8_t xoff = 0;

  friend bool operator==(const PortSettings&, const PortSettings&) = default;
};

// InvalidArgument, saying why, for settings no relay can run on: remote address 0.0.0.0 or
// 255.255.255.255 (the panel's unreadable address), a port 0, a flow control other than 0 or 1,
// software flow with XON equal to XOFF.
runtime::StatusOr<PortSettings> SettingsFromCommand(const VspCommand& command);
runtime::StatusOr<PortSettings> SettingsFromRecord(const Record& record);

// The record with `status` in its last byte, the answer to a command.
Record Answer(const Record& input, std::uint8_t status);

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_PORT_SETTINGS_H_
