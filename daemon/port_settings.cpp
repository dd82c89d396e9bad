#include "daemon/port_settings.h"

namespace ketra::vspd {
namespace {

std::uint16_t U16(const Record& record, std::size_t offset) {
  return static_cast<std::uint16_t>(record[offset] | record[offset + 1] << 8);
}

std::optional<PortSettings> Refuse(std::string* problem, const char* why) {
  if (problem != nullptr) *problem = why;
  return std::nullopt;
}

}  // namespace

std::optional<PortSettings> SettingsFromRecord(const Record& record, std::string* problem) {
  PortSettings settings;
  settings.remote.address = static_cast<std::uint32_t>(record[0]) << 24 |
                            static_cast<std::uint32_t>(record[1]) << 16 |
                            static_cast<std::uint32_t>(record[2]) << 8 | record[3];
  settings.remote.port = U16(record, 4);
  settings.local_port = U16(record, 6);
  const std::uint8_t flow = record[8];
  settings.xoff = record[9];
  settings.xon = record[10];
  settings.software_flow = flow == 1;
  if (settings.remote.address == 0 || settings.remote.address == 0xFFFFFFFFu) {
    return Refuse(problem, "remote address 0.0.0.0 or 255.255.255.255");
  }
  if (settings.remote.port == 0) return Refuse(problem, "remote port 0");
  if (settings.local_port == 0) return Refuse(problem, "local port 0");
  if (flow > 1) return Refuse(problem, "flow control neither 0 (hardware) nor 1 (software)");
  if (settings.software_flow && settings.xon == settings.xoff) {
    return Refuse(problem, "software flow with XON equal to XOFF");
  }
  return settings;
}

Record Answer(const Record& input, std::uint8_t status) {
  Record output = input;
  output[device::kStatusOffset] = status;
  return output;
}

}  // namespace ketra::vspd
