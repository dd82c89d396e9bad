#include "daemon/client.h"

#include <chrono>

#include <nlohmann/json.hpp>

#include "config_appl/driver/vsp_command.h"
#include "config_appl/store/stored_port.h"
#include "daemon/port_settings.h"
#include "daemon/status_report.h"
#include "platform/device/vspd_device.h"
#include "platform/runtime/conversion_error.h"

namespace ketra::vspd {
namespace {

std::string HexBytes(const VspBytes& bytes) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

}  // namespace

std::string ConnectMessage(std::uint8_t status) {
  switch (status) {
    case 112:
      return "Connect Successful";
    case 15:
      return "Already Connected";
    case 19:
      return "Connection Timed Out";
    case 21:
      return "Connection Failed";
    case 22:
      return "Release Failed";
    case 0:
      return "Already in the Connected state";
    default:
      return "Unable to Connect, Please check the configuration parameters";
  }
}

std::string DisconnectMessage(std::uint8_t status) {
  switch (status) {
    case 113:
      return "Disconnect Successful";
    case 19:
      return "Connection Timed Out";
    case 21:
      return "Connectio Failed";
    case 22:
      return "Release Failed";
    case 0:
      return "Already in the Disconnected state";
    default:
      return "Unable to Disconnect, Please check the configuration parameters";
  }
}

int RunStatus(const std::string& socket_path, bool json, std::ostream& out, std::ostream& err) {
  const auto document = device::QueryVspdStatus(socket_path, std::chrono::seconds(5));
  if (!document) {
    err << "no daemon answers at " << socket_path << "\n";
    return 1;
  }
  if (json) {
    out << *document << "\n";
    return 0;
  }
  const auto parsed = nlohmann::json::parse(*document, nullptr, false);
  try {
    if (parsed.is_discarded()) throw std::runtime_error("not JSON");
    out << FormatStatusTable(parsed);
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
  VspBytes input{};
  try {
    input = EncodeVspCommand(CommandFromRow(*row));
  } catch (const runtime::ConversionError& error) {
    err << port << ": stored settings do not fit the command record: " << error.what() << "\n";
    return 2;
  }
  const std::string path = "\\\\.\\" + port + (connect ? "" : "\\p");
  const device::SecurityAttributes security{};
  const device::Handle handle = device.CreateFile(path, 0, device::kFileShareReadWrite, &security,
                                                  device::kOpenExisting, 0, 0);
  if (handle == device::kInvalidHandleValue) {
    err << port << ": Unable to open handle for the port\n";
    return 1;
  }
  VspBytes output{};
  std::uint32_t returned = 0;
  device.DeviceIoControl(handle, connect ? device::kIoctlVspConnect : device::kIoctlVspDisconnect,
                         input.data(), static_cast<std::uint32_t>(input.size()), output.data(),
                         static_cast<std::uint32_t>(output.size()), &returned);
  device.CloseHandle(handle);
  const std::uint8_t status = output[11];
  out << port << ": " << (connect ? ConnectMessage(status) : DisconnectMessage(status))
      << " (Status " << static_cast<int>(status) << ", sent " << HexBytes(input) << ")\n";
  const bool fine = status == kStatusAlreadyInState ||
                    (connect ? status == kStatusConnected || status == kStatusAlreadyConnected
                             : status == kStatusDisconnected);
  return fine ? 0 : 1;
}

}  // namespace ketra::vspd
