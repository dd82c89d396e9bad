#include "config_appl/driver/driver_commands.h"

#include <string>

#include "config_appl/form1/controls.h"
#include "config_appl/port/driver_call.h"
#include "config_appl/port/driver_record.h"
#include "platform/device/device.h"
#include "platform/runtime/conversion_error.h"

namespace ketra {
namespace {

using forms::MsgBoxStyle;

// The row of the port text, filled into the input record; every row that bears the name is
// taken, the last one winning. No row leaves the record zero.
bool FillRecord(Panel& p, const std::string& port_text, device::Record& in) {
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

void Show(Panel& p, const DriverMessage& m) {
  p.MsgBox(m.text, m.critical ? MsgBoxStyle::kCritical : MsgBoxStyle::kInformation);
}

void Send(Panel& p, const DriverCommand& command, const std::string& port_text) {
  const std::uint8_t unfit_status = 255;  // falls under "any other" in both message tables
  if (port_text.substr(0, 3) != "COM") {
    p.MsgBox("Invalid Port Name! Please select a port from the drop down list",
             MsgBoxStyle::kInformation);
    return;
  }
  device::Record in{};
  if (!FillRecord(p, port_text, in)) {
    Show(p, command.message(unfit_status));
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
  Show(p, command.message(answer.status));
  io.CloseHandle(d.DeviceHandle);
}

}  // namespace

void SendPortCommand(Panel& p, const DriverCommand& command) {
  const std::string port_text = p.Text(ctl::kPortList);
  Send(p, command, port_text);
}

void DisconnectClick(Panel& p) { SendPortCommand(p, kDisconnectCommand); }

}  // namespace ketra
