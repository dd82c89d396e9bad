#include "daemon/client.h"

#include <chrono>

#include <nlohmann/json.hpp>

#include "config_appl/port/driver_call.h"
#include "config_appl/port/driver_record.h"
#include "config_appl/port/stored_port.h"
#include "daemon/metrics_text.h"
#include "daemon/port_settings.h"
#include "daemon/status_report.h"
#include "platform/device/vspd_device.h"
#include "platform/runtime/conversion_error.h"
#include "platform/runtime/strings.h"

namespace ketra::vspd {
int RunStatus(const std::string& socket_path, StatusFormat format, std::ostream& out,
              std::ostream& err) {
  const auto document = device::QueryVspdStatus(socket_path, std::chrono::seconds(5));
  if (!document) {
    err << "no daemon answers at " << socket_path << "\n";
    return 1;
  }
  if (format == StatusFormat::kJson) {
    out << *document << "\n";
    return 0;
  }
  const auto parsed = nlohmann::json::parse(*document, nullptr, false);
  try {
    if (parsed.is_discarded()) throw std::runtime_error("not JSON");
    out << (format == StatusFormat::kPrometheus ? FormatPrometheus(parsed)
                                                : FormatStatusTable(parsed));
  } catch (const std::exception& error) {
    err << "the daemon's status document cannot be read: " << error.what() << "\n";
    return 1;
  }
  return 0;
}

int RunPortCommand(registry::Registry& registry, device::DeviceIo& device, bool connect,
                   const std::string& port, std::ostream& out, std::ostream& err) {
  const auto row = ReadStoredPort(registry, port);
  if (!row) {
    err << port << ": no usable stored settings under HKEY_LOCAL_MACHINE\\Software\\Tessaron\\VSP\\"
        << port << "\n";
    return 2;
  }
  device::Record input{};
  try {
    input = EncodeVspCommand(CommandFromRow(*row));
  } catch (const runtime::ConversionError& error) {
    err << port << ": stored settings do not fit the command record: " << error.what() << "\n";
    return 2;
  }
  const DriverCommand& command = connect ? kConnectCommand : kDisconnectCommand;
  const DriverAnswer answer = CallDriver(device, command, port, input);
  if (answer.handle == device::kInvalidHandleValue) {
    err << port << ": Unable to open handle for the port\n";
    return 1;
  }
  device.CloseHandle(answer.handle);
  const std::uint8_t status = answer.status;
  out << port << ": " << command.message(status).text << " (Status " << static_cast<int>(status)
      << ", sent " << runtime::HexUpper(input) << ")\n";
  const bool fine =
      status == device::kStatusAlreadyInState ||
      (connect ? status == device::kStatusConnected || status == device::kStatusAlreadyConnected
               : status == device::kStatusDisconnected);
  return fine ? 0 : 1;
}

}  // namespace ketra::vspd
