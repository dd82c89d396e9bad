#include "config_appl/driver/driver_commands.h"

#include <string>

#include "config_appl/driver/vsp_command.h"
#include "config_appl/form/read_ui.h"
#include "config_appl/store/settings_save.h"
#include "platform/device/device.h"
#include "platform/runtime/conversion_error.h"

namespace ketra {
namespace {

using forms::MsgBoxStyle;

// The row of the port text, filled into the input record; every row that bears the name is
// taken, the last one winning. No row leaves the record zero.
bool FillRecord(Program& p, const std::string& port_text, device::Record& in) {
  const Declarations& d = p.decl();
  for (int r = 0; r <= d.LastPort; ++r) {
    if (d.PortTable[r].PortName != port_text) continue;
    try {
      in = EncodeVspCommand(CommandFromRow(d.PortTable[r]));
    } catch (const runtime::ConversionError&) {
      // A number of the row that does not fit its field is not sent cut or wrapped: the
      // command stops before the device is opened.
      return false;
    }
  }
  return true;
}

void Send(Program& p, const DriverCommand& command, const std::string& port_text) {
  const std::uint8_t unfit_status = 255;  // falls under "any other" in both message tables
  if (port_text.substr(0, 3) != "COM") {
    p.MsgBox("Invalid Port Name! Please select a port from the drop down list",
             MsgBoxStyle::kInformation);
    return;
  }
  device::Record in{};
  if (!FillRecord(p, port_text, in)) {
    const StatusMessage m = command.message(unfit_status);
    p.MsgBox(m.text, m.style);
    return;
  }
  device::DeviceIo& io = p.device();
  Declarations& d = p.decl();
  const DriverAnswer answer = CallDriver(io, command, port_text, in);
  d.DeviceHandle = answer.handle;
  if (d.DeviceHandle == device::kInvalidHandleValue) {
    p.MsgBox("Unable to open handle for the port", MsgBoxStyle::kCritical);
    return;
  }
  const StatusMessage m = command.message(answer.status);
  p.MsgBox(m.text, m.style);
  io.CloseHandle(d.DeviceHandle);
}

}  // namespace

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

StatusMessage ConnectMessage(std::uint8_t status) {
  switch (status) {
    case device::kStatusConnected:
      return {"Connect Successful", MsgBoxStyle::kInformation};
    case device::kStatusAlreadyConnected:
      return {"Already Connected", MsgBoxStyle::kCritical};
    case device::kStatusTimedOut:
      return {"Connection Timed Out", MsgBoxStyle::kCritical};
    case device::kStatusConnectionFailed:
      return {"Connection Failed", MsgBoxStyle::kCritical};
    case device::kStatusReleaseFailed:
      return {"Release Failed", MsgBoxStyle::kCritical};
    case device::kStatusAlreadyInState:
      return {"Already in the Connected state", MsgBoxStyle::kInformation};
    default:
      return {"Unable to Connect, Please check the configuration parameters",
              MsgBoxStyle::kCritical};
  }
}

StatusMessage DisconnectMessage(std::uint8_t status) {
  switch (status) {
    case device::kStatusDisconnected:
      return {"Disconnect Successful", MsgBoxStyle::kInformation};
    case device::kStatusTimedOut:
      return {"Connection Timed Out", MsgBoxStyle::kCritical};
    case device::kStatusConnectionFailed:
      return {"Connectio Failed", MsgBoxStyle::kCritical};
    case device::kStatusReleaseFailed:
      return {"Release Failed", MsgBoxStyle::kCritical};
    case device::kStatusAlreadyInState:
      return {"Already in the Disconnected state", MsgBoxStyle::kInformation};
    default:
      return {"Unable to Disconnect, Please check the configuration parameters",
              MsgBoxStyle::kCritical};
  }
}

void CMD_CONNECT_Click(Program& p) {
  ReadUI(p);
  if (p.decl().InputInvalid == -1) return;
  CreateConfigFile2(p);
  const std::string port_text = p.Text("CMB_PORT");
  Send(p, kConnectCommand, port_text);
}

void CMD_DISCONNECT_Click(Program& p) {
  const std::string port_text = p.Text("CMB_PORT");
  Send(p, kDisconnectCommand, port_text);
}

}  // namespace ketra
