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

struct Command {
  std::uint32_t control_code;
  std::string_view path_suffix;
  StatusMessage (*message)(std::uint8_t);
};

// The row of the port text, filled into the input record; every row that bears the name is
// taken, the last one winning. No row leaves the record zero.
bool FillRecord(Program& p, const std::string& port_text, VspBytes& in) {
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

void Send(Program& p, const Command& command, const std::string& port_text) {
  const std::uint8_t unfit_status = 255;  // falls under "any other" in both message tables
  if (port_text.substr(0, 3) != "COM") {
    p.MsgBox("Invalid Port Name! Please select a port from the drop down list",
             MsgBoxStyle::kInformation);
    return;
  }
  VspBytes in{};
  VspBytes out{};
  const device::SecurityAttributes security{};
  if (!FillRecord(p, port_text, in)) {
    const StatusMessage m = command.message(unfit_status);
    p.MsgBox(m.text, m.style);
    return;
  }
  std::string path = "\\\\.\\" + port_text;
  path += command.path_suffix;
  device::DeviceIo& io = p.device();
  Declarations& d = p.decl();
  d.DeviceHandle =
      io.CreateFile(path, 0, device::kFileShareReadWrite, &security, device::kOpenExisting, 0, 0);
  if (d.DeviceHandle == device::kInvalidHandleValue) {
    p.MsgBox("Unable to open handle for the port", MsgBoxStyle::kCritical);
    return;
  }
  std::uint32_t bytes_returned = 0;
  io.DeviceIoControl(d.DeviceHandle, command.control_code, in.data(), kVspCommandSize, out.data(),
                     kVspCommandSize, &bytes_returned);
  const StatusMessage m = command.message(out[kVspCommandSize - 1]);
  p.MsgBox(m.text, m.style);
  io.CloseHandle(d.DeviceHandle);
}

}  // namespace

StatusMessage ConnectMessage(std::uint8_t status) {
  switch (status) {
    case 112:
      return {"Connect Successful", MsgBoxStyle::kInformation};
    case 15:
      return {"Already Connected", MsgBoxStyle::kCritical};
    case 19:
      return {"Connection Timed Out", MsgBoxStyle::kCritical};
    case 21:
      return {"Connection Failed", MsgBoxStyle::kCritical};
    case 22:
      return {"Release Failed", MsgBoxStyle::kCritical};
    case 0:
      return {"Already in the Connected state", MsgBoxStyle::kInformation};
    default:
      return {"Unable to Connect, Please check the configuration parameters",
              MsgBoxStyle::kCritical};
  }
}

StatusMessage DisconnectMessage(std::uint8_t status) {
  switch (status) {
    case 113:
      return {"Disconnect Successful", MsgBoxStyle::kInformation};
    case 19:
      return {"Connection Timed Out", MsgBoxStyle::kCritical};
    case 21:
      return {"Connectio Failed", MsgBoxStyle::kCritical};
    case 22:
      return {"Release Failed", MsgBoxStyle::kCritical};
    case 0:
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
  Send(p, {device::kIoctlVspConnect, "", &ConnectMessage}, port_text);
}

void CMD_DISCONNECT_Click(Program& p) {
  const std::string port_text = p.Text("CMB_PORT");
  Send(p, {device::kIoctlVspDisconnect, "\\p", &DisconnectMessage}, port_text);
}

}  // namespace ketra
