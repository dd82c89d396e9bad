// One port's settings as the panel, the store and the driver daemon share them, and the defaults
// a port takes: the start-up's flow settings for every port, the first run's full settings.
// Plain data and pure functions; thread-safe.
#ifndef KETRA_CONFIG_APPL_PORT_PORT_RECORD_H_
#define KETRA_CONFIG_APPL_PORT_PORT_RECORD_H_

#include <cstdint>
#include <string>
#include <string_view>

namespace ketra {

// The ports and the flow control stay text, as the form holds them.
struct PortRecord {
  std::int16_t Enabled = 0;  // -1 enabled, 0 disabled
  std::string PortName;
  std::string RemoteIP;
  std::string RemotePort;
  std::string LocalPort;
  std::string FlowControl;  // kHardwareFlow or kSoftwareFlow
  std::uint8_t XON = 0;
  std::uint8_t XOFF = 0;
};

inline constexpr std::string_view kHardwareFlow = "0";
inline constexpr std::string_view kSoftwareFlow = "1";
inline constexpr std::uint8_t kDefaultXon = 66;
inline constexpr std::uint8_t kDefaultXoff = 65;

// What start-up gives every port before it reads the store: hardware flow, XOFF 65, XON 66.
void SetStartupFlow(PortRecord& row);

// A first run's settings for the port in row `index`: enabled, hardware flow, local port
// 3000 + index, remote port 3003 + index, remote address 192.168.1.35, XOFF 65, XON 66.
// PortName stays.
void SetDefaultSettings(PortRecord& row, int index);

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_PORT_PORT_RECORD_H_
