// What the panel and the virtual serial port driver agree on, whichever side implements it: the
// 12-byte record a control call carries each way.
// Plain constants and types; thread-safe.
#ifndef KETRA_PLATFORM_DEVICE_DRIVER_CONTRACT_H_
#define KETRA_PLATFORM_DEVICE_DRIVER_CONTRACT_H_

#include <array>
#include <cstddef>
#include <cstdint>

namespace ketra::device {

// Remote address (4 bytes, first octet first), remote port and local port (2 bytes each,
// little-endian), flow control, XOFF, XON, and the status the driver answers with.
inline constexpr std::size_t kRecordSize = 12;
using Record = std::array<std::uint8_t, kRecordSize>;

}  // namespace ketra::device

#endif  // KETRA_PLATFORM_DEVICE_DRIVER_CONTRACT_H_
