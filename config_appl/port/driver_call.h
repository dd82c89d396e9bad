// One call of the virtual serial port driver for a port, as the panel's Connect and Disconnect
// and the daemon's client make it: open the port's device, send one control call with a record,
// read the Status of the answer. Also the message each Status stands for. No state is kept;
// the caller closes the handle. Single-threaded, as the DeviceIo it is given.
#ifndef KETRA_CONFIG_APPL_PORT_DRIVER_CALL_H_
#define KETRA_CONFIG_APPL_PORT_DRIVER_CALL_H_

#include <cstdint>
#include <string_view>

#include "platform/device/device.h"
#include "platform/device/driver_contract.h"

namespace ketra {

// The message a Status of the driver's answer stands for; `critical` ones are failures.
struct DriverMessage {
  std::string_view text;
  bool critical;
};
DriverMessage ConnectMessage(std::uint8_t status);
DriverMessage DisconnectMessage(std::uint8_t status);

// What a command sends and where, and the message of its answer.
struct DriverCommand {
  std::uint32_t control_code;
  bool control_path;  // the device path with "\p", as a disconnect opens it
  DriverMessage (*message)(std::uint8_t status);
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

#endif  // KETRA_CONFIG_APPL_PORT_DRIVER_CALL_H_
