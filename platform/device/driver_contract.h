// What the panel and the virtual serial port driver agree on, whichever side implements it (the
// driver daemon, the scripted stand-in): the device paths, the two control codes, the 12-byte
// record each call carries both ways, and the Status values the driver answers with in the
// record's last byte. Plain constants and pure functions; thread-safe.
#ifndef KETRA_PLATFORM_DEVICE_DRIVER_CONTRACT_H_
#define KETRA_PLATFORM_DEVICE_DRIVER_CONTRACT_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace ketra::device {

// A port's device is "\\.\COM5" for a connect and "\\.\COM5\p" for a disconnect.
inline constexpr std::string_view kDevicePathPrefix = "\\\\.\\";
inline constexpr std::string_view kControlPathSuffix = "\\p";
inline std::string DevicePath(std::string_view port, bool control_suffix) {
  std::string path(kDevicePathPrefix);
  path += port;
  if (control_suffix) path += kControlPathSuffix;
  return path;
}

inline constexpr std::uint32_t kIoctlVspConnect = 0x80202000u;
inline constexpr std::uint32_t kIoctlVspDisconnect = 0x80202004u;

// Remote address (4 bytes, first octet first), remote port and local port (2 bytes each,
// little-endian), flow control, XOFF, XON, and the Status the driver answers with.
inline constexpr std::size_t kRecordSize = 12;
using Record = std::array<std::uint8_t, kRecordSize>;
// Where each field of a Record starts.
namespace record {
inline constexpr std::size_t kRemoteAddress = 0;
inline constexpr std::size_t kRemotePort = 4;
inline constexpr std::size_t kLocalPort = 6;
inline constexpr std::size_t kFlowControl = 8;
inline constexpr std::size_t kXoff = 9;
inline constexpr std::size_t kXon = 10;
inline constexpr std::size_t kStatus = 11;
}  // namespace record
inline constexpr std::size_t kStatusOffset = record::kStatus;
inline std::uint8_t StatusOf(const Record& record) { return record[kStatusOffset]; }

inline constexpr std::uint8_t kStatusAlreadyInState = 0;
inline constexpr std::uint8_t kStatusAlreadyConnected = 15;
inline constexpr std::uint8_t kStatusTimedOut = 19;
inline constexpr std::uint8_t kStatusConnectionFailed = 21;
inline constexpr std::uint8_t kStatusReleaseFailed = 22;
// Settings the daemon cannot use; the panel shows its "check the configuration parameters".
inline constexpr std::uint8_t kStatusBadParameters = 87;
inline constexpr std::uint8_t kStatusConnected = 112;
inline constexpr std::uint8_t kStatusDisconnected = 113;

}  // namespace ketra::device

#endif  // KETRA_PLATFORM_DEVICE_DRIVER_CONTRACT_H_
