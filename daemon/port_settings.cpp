#include "daemon/port_settings.h"

#include "config_appl/port/address.h"

namespace ketra::vspd {

runtime::StatusOr<PortSettings> SettingsFromCommand(const VspCommand& command) {
  using runtime::Status;
  PortSettings settings;
  settings.remote.address = HostFromStored(command.RemoteIP);
  settings.remote.port = static_cast<std::uint16_t>(command.RemotePort);
  settings.local_port = static_cast<std::uint16_t>(command.LocalPort);
  settings.xoff = command.XOFF;
  settings.xon = command.XON;
  settings.software_flow = command.FlowControl == 1;
  if (settings.remote.address == 0 || settings.remote.address == 0xFFFFFFFFu) {
    return Status::InvalidArgument("remote address 0.0.0.0 or 255.255.255.255");
  }
  if (settings.remote.port == 0) return Status::InvalidArgument("remote port 0");
  if (settings.local_port == 0) return Status::InvalidArgument("local port 0");
  if (command.FlowControl > 1) {
    return Status::InvalidArgument("flow control neither 0 (hardware) nor 1 (software)");
  }
  if (settings.software_flow && settings.xon == settings.xoff) {
    return Status::InvalidArgument("software flow with XON equal to XOFF");
  }
  return settings;
}

runtime::StatusOr<PortSettings> SettingsFromRecord(const Record& record) {
  return SettingsFromCommand(DecodeVspCommand(record));
}

Record Answer(const Record& input, std::uint8_t status) {
  Record output = input;
  output[device::kStatusOffset] = status;
  return output;
}

}  // namespace ketra::vspd
