// The two driver commands behind the hidden buttons of the Config page: each opens the device of
// the port named in CMB_PORT, sends the port's row as one control call, shows the message that
// the answer's Status selects, and closes the device. No state of a connection is kept.
#ifndef KETRA_CONFIG_APPL_DRIVER_DRIVER_COMMANDS_H_
#define KETRA_CONFIG_APPL_DRIVER_DRIVER_COMMANDS_H_

#include <cstdint>
#include <string_view>

#include "config_appl/model/program.h"
#include "platform/device/device.h"
#include "platform/forms/services.h"

namespace ketra {

// Reads and saves the form first, then sends IOCTL_VSP_CONNECT to \\.\<port>.
void CMD_CONNECT_Click(Program& p);
// Sends the row as the table holds it, IOCTL_VSP_DISCONNECT to \\.\<port>\p.
void CMD_DISCONNECT_Click(Program& p);

struct StatusMessage {
  std::string_view text;
  forms::MsgBoxStyle style;
};
StatusMessage ConnectMessage(std::uint8_t status);
StatusMessage DisconnectMessage(std::uint8_t status);

// What a command sends and where, and the message of its answer.
struct DriverCommand {
  std::uint32_t control_code;
  bool control_path;  // the device path with "\p", as a disconnect opens it
  StatusMessage (*message)(std::uint8_t status);
};
inline constexpr DriverCommand kConnectCommand{device::kIoctlVspConnect, false, &ConnectMessage};
inline constexpr DriverCommand kDisconnectCommand{device::kIoctlVspDisconnect, true,
                                                  &DisconnectMessage};

// Opens the port's device for the command and makes the one control call with `in`. The handle
// (kInvalidHandleValue when the open failed, and then no call was made) and the Status of the
// answer (0 when the driver wrote none); the caller closes the handle.
struct DriverAnswer {
  device::Handle handle = device::kInvalidHandleValue;
  std::uint8_t status = 0;
};
DriverAnswer CallDriver(device::DeviceIo& io, const DriverCommand& command, std::string_view port,
                        const device::Record& in);

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_DRIVER_DRIVER_COMMANDS_H_
