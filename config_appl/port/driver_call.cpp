#include "config_appl/port/driver_call.h"

namespace ketra {

DriverAnswer CallDriver(device::DeviceIo& io, const DriverCommand& command, std::string_view port,
                        const device::Record& in) {
  const device::SecurityAttributes security{};
  DriverAnswer answer;
  answer.handle =
      io.CreateFile(device::DevicePath(port, command.control_path), 0, device::kFileShareReadWrite,
                    &security, device::kOpenExisting, 0, 0);
  if (answer.handle == device::kInvalidHandleValue) return answer;
  device::Record out{};
  std::uint32_t bytes_returned = 0;
  io.DeviceIoControl(answer.handle, command.control_code, in.data(), device::kRecordSize,
                     out.data(), device::kRecordSize, &bytes_returned);
  answer.status = device::StatusOf(out);
  return answer;
}

DriverMessage ConnectMessage(std::uint8_t status) {
  switch (status) {
    case device::kStatusConnected:
      return {"Connect Successful", false};
    case device::kStatusAlreadyConnected:
      return {"Already Connected", true};
    case device::kStatusTimedOut:
      return {"Connection Timed Out", true};
    case device::kStatusConnectionFailed:
      return {"Connection Failed", true};
    case device::kStatusReleaseFailed:
      return {"Release Failed", true};
    case device::kStatusAlreadyInState:
      return {"Already in the Connected state", false};
    default:
      return {"Unable to Connect, Please check the configuration parameters", true};
  }
}

DriverMessage DisconnectMessage(std::uint8_t status) {
  switch (status) {
    case device::kStatusDisconnected:
      return {"Disconnect Successful", false};
    case device::kStatusTimedOut:
      return {"Connection Timed Out", true};
    case device::kStatusConnectionFailed:
      return {"Connectio Failed", true};
    case device::kStatusReleaseFailed:
      return {"Release Failed", true};
    case device::kStatusAlreadyInState:
      return {"Already in the Disconnected state", false};
    default:
      return {"Unable to Disconnect, Please check the configuration parameters", true};
  }
}

}  // namespace ketra
